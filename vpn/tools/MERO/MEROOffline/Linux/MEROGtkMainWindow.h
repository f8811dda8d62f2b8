class CMEROGtkMainWindow;
