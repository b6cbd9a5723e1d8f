#include "orbuutil/orbuFileLock.h"
#include "orbuutil/orbuMutex.h"
#include "support/processes.h"
#include "support/semaphores.h"

#include <fcntl.h>
#include <sys/stat.h>

namespace {

using Mutex = SemaphoreTest;
using FileLock = PlaceTest;

TEST_F(Mutex, TakesAndGivesBack) {
    OrbuMutex first, second;
    ASSERT_TRUE(first.Open(name.c_str()) && second.Open(name.c_str()));
    EXPECT_EQ(value(), 1);
    for (int timeout : {0, -2}) {
        EXPECT_FALSE(first.Lock(timeout)) << timeout;
    }
    EXPECT_EQ(value(), 1);
    for (int timeout : {-1, 1}) {
        EXPECT_TRUE(first.Lock(timeout) && first.IsLocked());
        EXPECT_EQ(value(), 0);
        EXPECT_TRUE(!second.Lock(1) && !second.IsLocked());
        EXPECT_FALSE(second.UnLock()); // not held: nothing is posted
        EXPECT_EQ(value(), 0);
        EXPECT_FALSE(first.UnLock() || first.IsLocked());
        EXPECT_EQ(value(), 1);
    }
    auto const start = std::chrono::steady_clock::now();
    EXPECT_TRUE(first.Lock(-1) && !second.Lock(20'000));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(20));
    EXPECT_FALSE(first.Lock(1) || first.IsLocked()); // the second time waits for itself
}

TEST_F(Mutex, ClosingFreesTheName) {
    OrbuMutex holder, waiter;
    auto next = std::make_unique<OrbuMutex>();
    EXPECT_TRUE(holder.Open(name.c_str()) && holder.Lock(-1) && waiter.Open(name.c_str()));
    EXPECT_TRUE(waiter.Close());
    EXPECT_EQ(value(), -1);
    EXPECT_TRUE(next->Open(name.c_str()) && next->Lock(1)); // beside the holder
    // A second Open drops the lock without a post, and what it opens is not held.
    EXPECT_TRUE(next->Open(name.c_str()) && !next->IsLocked() && !next->UnLock());
    EXPECT_EQ(value(), 1);
    EXPECT_TRUE(next->Close() && !next->Close() && next->Open(name.c_str()) && next->Lock(-1));
    sem_t* const semaphore = ::sem_open(name.c_str(), 0);
    next.reset(); // posts what is held
    EXPECT_EQ(::sem_trywait(semaphore), 0);
    ::sem_close(semaphore);
    EXPECT_EQ(value(), -1);
}

TEST_F(Mutex, CutsNames) {
    std::string const stem = name + std::string(29 - name.size(), 'x');
    // A character of two bytes that would end at byte 31 goes as a whole.
    for (auto const& [wanted, opened] : {std::pair(stem + "a", stem + "a"),
                                         {stem + "b" + stem, stem + "b"},
                                         {stem + "\u00e9\u00e9", stem}}) {
        OrbuMutex lock;
        EXPECT_TRUE(lock.Open(wanted.c_str()) && lock.Lock(-1));
        EXPECT_EQ(semaphoreValue(opened), 0);
        EXPECT_TRUE(lock.Close());
        EXPECT_EQ(semaphoreValue(opened), -1);
    }
}

TEST_F(Mutex, WithoutSemaphore) {
    OrbuUnixMutexImp lock;
    EXPECT_FALSE(lock.Close() || lock.Lock(-1) || lock.Lock(1) || lock.TimedWait(1) || lock.IsLocked());
    EXPECT_TRUE(lock.UnLock());
    EXPECT_FALSE(lock.Open("") || lock.Open(TStr::null));
    EXPECT_TRUE(lock.UnLock()); // an empty name leaves it as it was
    // A failed one counts as there, but is never touched.
    EXPECT_FALSE(lock.Open("/no/folders"));
    EXPECT_FALSE(lock.Lock(-1) || lock.Lock(1) || lock.TimedWait(1) || lock.UnLock() || lock.Close());
    EXPECT_TRUE(lock.UnLock());
    EXPECT_FALSE(lock.Open("/no/folders"));
    EXPECT_TRUE(lock.Open(name.c_str()) && lock.TimedWait(1) && !lock.IsLocked());
    EXPECT_EQ(value(), 0);
}

TEST_F(FileLock, HoldsUntilTheProcessLets) {
    std::string const file = in("lock");
    OrbuFileLock lock;
    EXPECT_FALSE(lock.Open("") || lock.Open(TStr::null) || lock.Open(in("none/lock").c_str()));
    EXPECT_FALSE(lock.Lock() || lock.Close() || lock.IsLocked());
    EXPECT_TRUE(lock.UnLock()); // the reverse of the mutex
    mode_t const mask = ::umask(0);
    EXPECT_TRUE(lock.Open(file.c_str()));
    ::umask(mask);
    EXPECT_EQ(modeOf(file), S_IFREG | 0600U);

    auto const heldForOthers = [&] {
        return Child([&] { return ::lockf(::open(file.c_str(), O_RDWR), F_TEST, 0) == 0 ? 0 : 1; }).wait() !=
               0;
    };
    EXPECT_TRUE(lock.Lock() && lock.IsLocked() && heldForOthers());
    EXPECT_TRUE(lock.UnLock() && !lock.IsLocked() && !heldForOthers() && lock.UnLock());
    EXPECT_TRUE(lock.Lock() && lock.Open(file.c_str()));
    EXPECT_FALSE(lock.IsLocked() || heldForOthers());
    {
        OrbuFileLock other;
        EXPECT_TRUE(other.Open(file.c_str()) && other.Lock() && heldForOthers());
    }
    EXPECT_FALSE(heldForOthers());
    EXPECT_TRUE(lock.Close() && std::filesystem::exists(file));
}

} // namespace
