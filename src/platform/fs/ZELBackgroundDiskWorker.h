// The web cache's disk worker for the program: jobs run on one thread of their own, in order, and each
// completion is posted to the main context of the thread that created the worker (its thread-default
// context), where it runs in order with the others.
//
// Destruction (on the creating thread) waits until every job given so far has run, in order, and drops every
// completion not yet run: nothing that was asked for (a cache version, the files of a refresh) is lost at a
// clean exit.
#pragma once

#include "core/cache/ZELDiskWorker.h"

#include <glib.h>

#include <condition_variable>
#include <deque>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace zel::platform {

class ZELBackgroundDiskWorker : public ZELDiskWorker {
  public:
    ZELBackgroundDiskWorker();
    ~ZELBackgroundDiskWorker() override;
    ZELBackgroundDiskWorker(const ZELBackgroundDiskWorker&) = delete;
    ZELBackgroundDiskWorker& operator=(const ZELBackgroundDiskWorker&) = delete;

    void run(std::function<void()> job, std::function<void()> done = {}) override;

  private:
    struct Task {
        std::function<void()> job;
        std::function<void()> done;
    };
    void loop();
    void post(std::function<void()> done);

    GMainContext* context_;
    // Read and cleared on the creating thread only; posted completions hold it, so they can tell that the
    // worker is gone.
    std::shared_ptr<bool> alive_ = std::make_shared<bool>(true);
    std::mutex mutex_;
    std::condition_variable wake_;
    std::deque<Task> tasks_;
    bool stopping_ = false;
    std::thread thread_;  // last: started when everything it uses exists
};

}  // namespace zel::platform
