// Where the web cache does its disk work: writing downloaded files, the file-system sync before the maps are
// stored, removing the cache folder. Jobs run one at a time, in the order they were given, so the cache's
// crash-safe order (files whole and synced before the maps naming them) holds whatever thread runs them; each
// job's completion then runs on the main thread, after every earlier completion.
//
// The platform layer gives the controller a worker that runs jobs on a thread of its own, so the main loop
// never waits for the disk. This default runs the job and its completion at once on the calling thread (the
// core tests and tools use it). A job must not touch what the main thread uses without a lock; a completion
// may. A worker that is destroyed runs no completion afterwards.
#pragma once

#include <functional>

namespace zel {

class ZELDiskWorker {
  public:
    virtual ~ZELDiskWorker() = default;
    // done may be empty.
    virtual void run(std::function<void()> job, std::function<void()> done = {}) {
        job();
        if (done) done();
    }
};

}  // namespace zel
