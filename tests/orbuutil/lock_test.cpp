#include "platformSupport.h"

#include "orbuutil/c_lock.h"
#include "orbuutil/tlock.h"

#include <atomic>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <semaphore.h>
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>

namespace {

// A semaphore name for each test of each process, removed afterwards.
class Lock : public ::testing::Test {
protected:
    Lock()
        : name("/orbutest-" + std::to_string(::getpid()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name()) {}
    ~Lock() override {
        Debug = 0;
        ::sem_unlink(name.c_str());
    }

    // The semaphore's value, -1 when there is none: 1 free, 0 held.
    int value() const {
        int result = -1;
        if (sem_t* semaphore = ::sem_open(name.c_str(), 0); semaphore != SEM_FAILED) {
            ::sem_getvalue(semaphore, &result);
            ::sem_close(semaphore);
        }
        return result;
    }

    std::string const name;
};

TEST_F(Lock, Opens) {
    struct {
        bool exists, create, acquire, valid;
        int value;
        bool counted; // there is a level to release
    } const rows[] = {
        {false, false, false, false, -1, false}, {false, true, false, true, 1, false},
        {false, true, true, true, 0, false}, // the creator holds it without a count
        {true, false, false, true, 1, false},    {true, true, false, true, 1, false},
        {true, true, true, true, 0, true},       {true, false, true, true, 0, true},
    };
    for (auto const& row : rows) {
        SCOPED_TRACE(&row - rows);
        if (row.exists) {
            TLock(name.c_str(), true, false);
        }
        {
            TLock lock(name.c_str(), row.create, row.acquire);
            EXPECT_EQ(lock.isValid(), row.valid);
            EXPECT_TRUE(lock.name() == name.c_str());
            EXPECT_EQ(value(), row.value);
        }
        // What was counted is given back at the end, what was not stays held.
        EXPECT_EQ(value(), row.counted ? 1 : row.value);
        ::sem_unlink(name.c_str());
    }
}

TEST_F(Lock, Nests) {
    TLock lock(name.c_str(), true, false);
    TLock other(name.c_str(), false, false);
    EXPECT_TRUE(lock.acquire(0) && lock.acquire(1));
    EXPECT_FALSE(other.acquireIfAvailable());
    lock.release();
    EXPECT_EQ(value(), 0);
    lock.release();
    EXPECT_TRUE(other.acquireIfAvailable());
    EXPECT_DEATH(other.release(),
                 "lock_release: assertion \"pl->acquired > 0\" failed"); // took it past the count
}

TEST_F(Lock, FailedAcquireStaysCounted) {
    TLock holder(name.c_str(), true, true);
    for (long timeout : {1L, 250L, -5L}) {
        TLock lock(name.c_str(), false, false);
        EXPECT_FALSE(lock.acquire(timeout));
        EXPECT_TRUE(lock.acquire(timeout)); // seems to succeed
        EXPECT_EQ(value(), 0);
    }
    EXPECT_EQ(value(), 0); // closing took one level of two
}

TEST_F(Lock, ClosingGivesBackOneLevel) {
    for (int levels : {1, 2}) {
        {
            TLock lock(name.c_str(), true, false);
            for (int i = 0; i < levels; ++i) {
                EXPECT_TRUE(lock.acquire(100));
            }
        }
        EXPECT_EQ(value(), levels == 1 ? 1 : 0);
    }
}

TEST_F(Lock, WithoutSemaphore) {
    for (std::string const& bad : {name, std::string(), std::string("/no/folders"), std::string(300, 'x')}) {
        SCOPED_TRACE(bad);
        lock* pl = lock_init(bad.c_str(), 1, 1); // counts 1 in spite of the failure
        EXPECT_TRUE(bad == name ? lock_errno(pl) == ENOENT : lock_errno(pl) != 0);
        EXPECT_EQ(lock_acquire(pl, 0), 0);
        lock_release(pl);
        lock_release(pl);
        EXPECT_EQ(lock_acquire(pl, 0), -1);
        lock_release(pl);
        EXPECT_EQ(lock_acquire(pl, 1000), -1);
        EXPECT_EQ(lock_acquire_if_available(pl), -1);
        lock_destroy(pl);
        lock_uninit(pl);
    }
    EXPECT_FALSE(TLock(TStr::null, true, false).isValid());
}

std::atomic<int> alarms{0};

TEST_F(Lock, WaitsThroughSignals) {
    struct sigaction action = {};
    action.sa_handler = [](int) { ++alarms; };
    struct sigaction before;
    ::sigaction(SIGALRM, &action, &before);
    TLock holder(name.c_str(), true, false);
    ASSERT_TRUE(holder.acquire(0));
    TLock lock(name.c_str(), false, false);
    pthread_t const waiter = ::pthread_self();
    std::thread other([&] {
        while (alarms < 20) {
            ::pthread_kill(waiter, SIGALRM);
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        holder.release();
    });
    EXPECT_TRUE(lock.acquire(0));
    EXPECT_GE(alarms, 20);
    other.join();
    ::sigaction(SIGALRM, &before, nullptr);
}

TEST_F(Lock, ExcludesProcesses) {
    constexpr int processes = 4;
    constexpr int rounds = 100;
    auto* const shared = static_cast<volatile int*>(
        ::mmap(nullptr, sizeof(int), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    std::vector<pid_t> children;
    for (int i = 0; i < processes; ++i) {
        children.push_back(::fork());
        if (children.back() == 0) {
            TLock lock(name.c_str(), true, false);
            for (int round = 0; round < rounds; ++round) {
                bool const held = lock.acquire(round % 2 == 0 ? 0 : 30'000'000);
                int const seen = *shared;
                ::sched_yield();
                *shared = held ? seen + 1 : -1000000;
                lock.release();
            }
            ::_exit(0);
        }
    }
    for (pid_t child : children) {
        ::waitpid(child, nullptr, 0);
    }
    EXPECT_EQ(*shared, processes * rounds);
    ::munmap(const_cast<int*>(shared), sizeof(int));
}

TEST_F(Lock, Traces) {
    auto const traced = [&](bool create) {
        ::testing::internal::CaptureStdout();
        lock* pl = lock_init(name.c_str(), create ? 0 : 1, 0);
        lock_destroy(pl);
        lock_uninit(pl);
        return ::testing::internal::GetCapturedStdout();
    };
    EXPECT_EQ(traced(true), "");
    Debug = 1;
    std::string const pid = std::to_string(::getpid());
    EXPECT_THAT(traced(true), ::testing::MatchesRegex(pid + " EACCESS opening semaphore, trying again\n" +
                                                      pid + " semaphore " + name + ":0x[0-9a-f]+\n" + pid +
                                                      " lock destroy: 0x[0-9a-f]+ " + name + "\n"));
    EXPECT_THAT(traced(false),
                ::testing::EndsWith(pid + " sem_unlink failed with 2:No such file or directory"));
    EXPECT_THAT(traced(false), ::testing::StartsWith(pid + " EACCESS creating semaphore, fail\n"));
}

} // namespace
