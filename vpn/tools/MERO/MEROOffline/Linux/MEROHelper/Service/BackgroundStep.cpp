#include "tools/MERO/MEROOffline/Linux/MEROHelper/Service/BackgroundStep.h"

#include "tools/MERO/MEROOffline/Linux/Glib/GlibHandles.h"
#include "tools/MERO/MEROOffline/Linux/Glib/HandlerGuard.h"

#include <gio/gio.h>
#include <memory>
#include <utility>

namespace {

struct Step {
    std::function<void()> work;
    std::function<void()> done;
};

void runWork(GTask* task, gpointer /*source*/, gpointer step, GCancellable* /*cancellable*/) {
    runHandler("runInBackground", static_cast<Step*>(step)->work);
    g_task_return_boolean(task, TRUE);
}

/// The one who takes the step back: the thread may still hold its task for a moment.
void onWorkDone(GObject* /*source*/, GAsyncResult* /*result*/, gpointer step) {
    const std::unique_ptr<Step> owned(static_cast<Step*>(step));
    runHandler("runInBackground", owned->done);
}

} // namespace

void runInBackground(std::function<void()> work, std::function<void()> done) {
    auto step = std::make_unique<Step>(Step{std::move(work), std::move(done)});
    const auto task = adoptRef(g_task_new(nullptr, nullptr, &onWorkDone, step.get()));
    g_task_set_task_data(task.get(), step.release(), nullptr);
    g_task_run_in_thread(task.get(), &runWork);
}
