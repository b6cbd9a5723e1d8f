#include "orbuutil/c_lock.h"
#include "orbuutil/tlock.h"
#include "support/semaphores.h"

#include <cerrno>
#include <csignal>
#include <regex>

namespace {

using Lock = SemaphoreTest;

TEST_F(Lock, Opens) {
    for (int row = 0; row < 8; ++row) {
        SCOPED_TRACE(row);
        bool const exists = (row & 4) != 0, create = (row & 2) != 0, acquire = (row & 1) != 0;
        if (exists) {
            TLock(name.c_str(), true, false);
        }
        int const opened = !exists && !create ? -1 : acquire ? 0 : 1;
        {
            TLock lock(name.c_str(), create, acquire);
            EXPECT_EQ(lock.isValid(), opened != -1);
            EXPECT_EQ(value(), opened);
        }
        // What was counted is given back at the end; a creator holds without a level to release.
        EXPECT_EQ(value(), exists && acquire ? 1 : opened);
        ::sem_unlink(name.c_str());
    }
}

TEST_F(Lock, Counts) {
    {
        TLock lock(name.c_str(), true, false);
        TLock other(name.c_str(), false, false);
        EXPECT_TRUE(lock.acquire(0) && lock.acquire(1) && !other.acquireIfAvailable());
        lock.release();
        EXPECT_EQ(value(), 0);
        lock.release();
        EXPECT_TRUE(other.acquireIfAvailable()); // past the count
        EXPECT_DEATH(other.release(), "lock_release: assertion \"pl->acquired > 0\" failed");
    }
    for (long timeout : {1L, 250L, -5L}) {
        TLock lock(name.c_str(), false, false);
        EXPECT_FALSE(lock.acquire(timeout));
        EXPECT_TRUE(lock.acquire(timeout)); // seems to succeed
        EXPECT_EQ(value(), 0);
    }
    EXPECT_EQ(value(), 0); // closing took one level of two
}

TEST_F(Lock, WithoutSemaphore) {
    for (std::string const& bad : {name, std::string(), std::string("/no/folders")}) {
        SCOPED_TRACE(bad);
        lock* pl = lock_init(bad.c_str(), 1, 1); // counts 1 in spite of the failure
        EXPECT_EQ(lock_errno(pl), bad == name ? ENOENT : EINVAL);
        EXPECT_EQ(lock_acquire(pl, 0), 0);
        lock_release(pl);
        lock_release(pl);
        EXPECT_EQ(lock_acquire(pl, 0), -1);
        lock_release(pl);
        EXPECT_TRUE(lock_acquire(pl, 1000) == -1 && lock_acquire_if_available(pl) == -1);
        lock_destroy(pl);
        lock_uninit(pl);
    }
    EXPECT_FALSE(TLock(TStr::null, true, false).isValid());
}

TEST_F(Lock, WaitsThroughSignals) {
    static sem_t* semaphore;
    static volatile std::sig_atomic_t left;
    TLock lock(name.c_str(), true, false);
    semaphore = ::sem_open(name.c_str(), 0);
    struct sigaction action = {}; // without SA_RESTART
    action.sa_handler = [](int) {
        left = left - 1;
        if (left == 0) {
            ::sem_post(semaphore);
        }
    };
    ::sigaction(SIGALRM, &action, nullptr);
    for (long timeout : {0L, 60'000'000L}) {
        ::sem_wait(semaphore); // held by somebody else
        left = 20;
        ::ualarm(1000, 1000);
        EXPECT_TRUE(lock.acquire(timeout));
        EXPECT_LE(left, 0);
        ::ualarm(0, 0);
        lock.release();
    }
    ::sem_close(semaphore);
}

TEST_F(Lock, Traces) {
    ::testing::internal::CaptureStdout();
    for (int level : {0, 1}) {
        Debug = level;
        lock* pl = lock_init(name.c_str(), 0, 0);
        lock_destroy(pl);
        lock_destroy(pl);
        lock_uninit(pl);
    }
    Debug = 0;
    std::string const pid = std::to_string(::getpid());
    std::string const destroyed = pid + " lock destroy: 0x\\w+ " + name + "\n";
    EXPECT_TRUE(std::regex_match(::testing::internal::GetCapturedStdout(),
                                 std::regex(pid + " EACCESS opening semaphore, trying again\n" + pid +
                                            " semaphore " + name + ":0x\\w+\n" + destroyed + destroyed + pid +
                                            " sem_unlink failed with 2:No such file or directory")));
}

} // namespace
