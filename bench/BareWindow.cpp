// What the bench of the wizard's start measures it against: a window of the same size with nothing in it.

#include <gtk/gtk.h>

int main(int argc, char* argv[]) {
    constexpr int kWidth = 640;
    constexpr int kHeight = 480;
    gtk_init(&argc, &argv);
    GtkWidget* const window = gtk_window_new(GTK_WINDOW_TOPLEVEL);
    gtk_window_set_default_size(GTK_WINDOW(window), kWidth, kHeight);
    g_signal_connect(window, "destroy", G_CALLBACK(gtk_main_quit), nullptr);
    gtk_widget_show_all(window);
    gtk_main();
    return 0;
}
