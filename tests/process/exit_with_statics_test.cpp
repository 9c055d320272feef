// Objects of the host with static storage, which end after main has returned.
#include <kq/kq.h>

#include "process/flag.h"
#include "process/forever.h"
#include "process/scenario.h"
#include "process/services.h"

#include <atomic>
#include <cstdlib>
#include <memory>

using namespace kq::concurrency;
using scenario::cleanExit;
using scenario::Close;

namespace {

// Its destructor uses the queue: waits for a job that is still running, for one that it submits
// itself, and withdraws one that cannot have begun.
struct LateUser {
    Flag mayFinish;
    CJobTicket running = jobQueue->Queue([mayFinish = mayFinish] { mayFinish.Wait(); }, isBlocking);

    ~LateUser() {
        CHECK(!running.Wait(0));
        const CJobTicket waiting = jobQueue->Queue([] {}, after(running));
        CHECK(jobQueue->Remove(waiting));
        mayFinish.Set();
        running.Wait();
        jobQueue->Queue([] {}, isBlocking).Wait();
        Close();
    }
};

} // namespace

SCENARIO(a_static_uses_the_queue_after_main) { static const LateUser user; }

SCENARIO(a_static_uses_the_queue_after_a_job_called_exit) {
    static const LateUser user;
    jobQueue->Queue([] { std::exit(cleanExit); });
    BlockForever();
}

SCENARIO(a_static_finds_no_queue_after_shutdown) {
    struct Looks {
        ~Looks() {
            CHECK(ServicesAreMissing());
            Close();
        }
    };
    static const Looks looks;
    kq::Shutdown();
}

SCENARIO(a_static_session_shuts_down_after_main) {
    struct Closes {
        std::atomic<int> ran{0};
        ~Closes() {
            CHECK(ServicesAreMissing());
            CHECK(ran == 1'000);
            Close();
        }
    };
    static Closes closes;
    static const kq::Session session;
    for (int job = 0; job != 1'000; ++job)
        jobQueue->Queue([] { ++closes.ran; });
}

SCENARIO(a_static_holds_the_last_references_after_shutdown) {
    struct Holds {
        std::shared_ptr<CJobQueue> queue = jobQueue.GetShared();
        std::shared_ptr<CThreadPool> pool = threadPool.GetShared();
        CJobTicket ticket = queue->Queue([] {});
        ~Holds() {
            queue->Queue([] {}).Wait();
            Close();
        }
    };
    static const Holds holds;
    kq::Shutdown();
}

SCENARIO(a_static_queue_and_pool_end_after_main) {
    struct Closes {
        std::atomic<int> ran{0};
        ~Closes() {
            CHECK(ran == 100);
            Close();
        }
    };
    static Closes closes;
    static CJobQueue queue(std::make_shared<CThreadPool>(2), 2);
    for (int job = 0; job != 100; ++job)
        queue.Queue([] { ++closes.ran; });
}

SCENARIO(a_static_ticket_ends_while_its_job_runs) {
    static CJobTicket ticket;
    const Flag begun;
    ticket = jobQueue->Queue([begun] {
        begun.Set();
        BlockForever();
    });
    begun.Wait();
    Close();
}
