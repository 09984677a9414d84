#include "platform/fs/ZELBackgroundDiskWorker.h"

namespace zel::platform {
namespace {

struct Completion {
    std::function<void()> done;
    std::shared_ptr<bool> alive;
};

}  // namespace

ZELBackgroundDiskWorker::ZELBackgroundDiskWorker()
    : context_(g_main_context_ref_thread_default()), thread_([this] { loop(); }) {}

ZELBackgroundDiskWorker::~ZELBackgroundDiskWorker() {
    *alive_ = false;
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        stopping_ = true;
    }
    wake_.notify_one();
    thread_.join();
    g_main_context_unref(context_);
}

void ZELBackgroundDiskWorker::run(std::function<void()> job, std::function<void()> done) {
    {
        const std::lock_guard<std::mutex> lock(mutex_);
        tasks_.push_back(Task{std::move(job), std::move(done)});
    }
    wake_.notify_one();
}

void ZELBackgroundDiskWorker::loop() {
    for (;;) {
        Task task;
        bool stopping = false;
        {
            std::unique_lock<std::mutex> lock(mutex_);
            wake_.wait(lock, [this] { return stopping_ || !tasks_.empty(); });
            if (tasks_.empty()) return;
            stopping = stopping_;
            task = std::move(tasks_.front());
            tasks_.pop_front();
        }
        task.job();
        // Once stopping, the jobs still queued run (what they write was asked for: a version, the files a
        // refresh fetched), but no completion is posted.
        if (task.done && !stopping) post(std::move(task.done));
    }
}

void ZELBackgroundDiskWorker::post(std::function<void()> done) {
    // An idle source of its own rather than g_main_context_invoke, which would run the completion right here
    // on this thread whenever it could acquire the context. Sources of one priority run in the order they
    // were attached, so completions keep the jobs' order.
    GSource* source = g_idle_source_new();
    g_source_set_priority(source, G_PRIORITY_DEFAULT);
    g_source_set_callback(
        source,
        [](gpointer data) -> gboolean {
            const auto* completion = static_cast<Completion*>(data);
            if (*completion->alive) completion->done();
            return G_SOURCE_REMOVE;
        },
        new Completion{std::move(done), alive_},
        [](gpointer data) { delete static_cast<Completion*>(data); });
    g_source_attach(source, context_);
    g_source_unref(source);
}

}  // namespace zel::platform
