#include "platform/fs/ZELBackgroundDiskWorker.h"

#include "platform/gobject/PostToContext.h"

namespace zel::platform {

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
    // Queued in the creating thread's context, in the jobs' order.
    postToContext(context_, [alive = alive_, done = std::move(done)] {
        if (*alive) done();
    });
}

}  // namespace zel::platform
