#include "orbuutil/orbuSingleton.h"
#include "orbuutil/orbuutilObjectManager.h"

#include <gmock/gmock.h>

#include <functional>
#include <string>
#include <vector>

namespace {

using Manager = COrbuUtilObjectManager;
using testing::ElementsAre;

std::vector<std::string> events;

void note(void* object, void* param) {
    events.push_back((object != nullptr ? static_cast<const char*>(object) : "null") + std::string(":") +
                     (param != nullptr ? static_cast<const char*>(param) : "null"));
}

// Runs what `object` points at.
void run(void* object, void*) { (*static_cast<std::function<void()>*>(object))(); }

void* object(const char* name) { return const_cast<char*>(name); }

// Is deleted by the default cleanup, or only told of it.
struct Owned : COrbuUtilCleanup {
    ~Owned() override { events.emplace_back("owned:deleted"); }
};
struct Reused : COrbuUtilCleanup {
    void cleanup(void* param) override { note(object("reused"), param); }
};

// Each starts with the process's manager fresh, and leaves it so.
class Lifetime : public testing::Test {
protected:
    Lifetime() {
        COrbuUtilObjectManagerManager::cleanup();
        events.clear();
    }
    ~Lifetime() override { COrbuUtilObjectManagerManager::cleanup(); }
};

TEST_F(Lifetime, RunsEachEntryOnceAndTheNewestFirst) {
    static char a[] = "a";
    static char uncallable[] = "no hook";
    Reused reused;
    EXPECT_EQ(Manager::at_exit(a, note, object("1")), 0);
    EXPECT_EQ(Manager::at_exit(new Owned, nullptr), 0);
    EXPECT_EQ(Manager::at_exit(uncallable, nullptr, nullptr), 0);
    EXPECT_EQ(Manager::at_exit(&reused, object("2")), 0);
    EXPECT_EQ(Manager::at_exit(&orbu_exit_hook_marker, note, object("3")), 0); // gets no argument
    EXPECT_EQ(Manager::at_exit(nullptr, note, object("4")), 0);
    // One entry for an object, whatever the hook; and null is one.
    EXPECT_EQ(Manager::at_exit(a, run, nullptr), -1);
    EXPECT_EQ(Manager::at_exit(static_cast<COrbuUtilCleanup*>(nullptr), nullptr), -1);
    COrbuUtilObjectManagerManager::cleanup();
    EXPECT_THAT(events, ElementsAre("null:4", "null:null", "reused:2", "owned:deleted", "a:1"));

    EXPECT_EQ(Manager::at_exit(static_cast<COrbuUtilCleanup*>(nullptr), nullptr), 0); // nothing to call
    EXPECT_EQ(Manager::instance()->fini(), 0);
    EXPECT_EQ(events.size(), 5u);
}

struct Service {};

TEST_F(Lifetime, TakesNothingWhileTheHooksRun) {
    static char late[] = "late", oldest[] = "oldest";
    std::vector<int> results;
    Service* made = nullptr;
    std::function<void()> meddle = [&] {
        Manager* const manager = Manager::instance();
        results = {Manager::at_exit(late, note, nullptr), manager->init(), manager->fini()};
        // Must not free the list that is being walked.
        COrbuUtilObjectManagerManager::cleanup();
        EXPECT_EQ(Manager::instance(), manager);
        made = COrbuUtilSingleton<Service>::instance();
    };
    Manager::at_exit(oldest, note, nullptr);
    Manager::at_exit(&meddle, run, nullptr);
    EXPECT_EQ(Manager::instance()->fini(), 0);
    EXPECT_THAT(results, ElementsAre(-1, 1, -1));
    EXPECT_THAT(events, ElementsAre("oldest:null"));
    // What was made too late stays, also over the next teardown.
    COrbuUtilObjectManagerManager::cleanup();
    EXPECT_EQ(COrbuUtilSingleton<Service>::instance(), made);
}

TEST_F(Lifetime, GoesThroughItsStatesOnce) {
    Manager own;    // there is none, so it is the process's
    Manager second; // and this one is not
    EXPECT_EQ(Manager::instance(), &own);
    EXPECT_FALSE(own.starting_up_i() || own.shutting_down_i());
    EXPECT_EQ(own.init(), 1);
    EXPECT_EQ(own.fini(), 0);
    EXPECT_TRUE(own.shutting_down_i());
    EXPECT_EQ(own.fini(), 1);
    EXPECT_EQ(own.at_exit_i(&own, note, nullptr), -1);
    // The process starts afresh, and what it has now outlives the others.
    EXPECT_EQ(Manager::at_exit(object("fresh"), note, nullptr), 0);
    EXPECT_EQ(second.at_exit_i(object("second"), note, nullptr), 0);
    EXPECT_EQ(second.fini(), 0);
    EXPECT_EQ(Manager::at_exit(object("fresh"), note, nullptr), -1);
    EXPECT_THAT(events, ElementsAre("second:null"));
}

TEST_F(Lifetime, FreesALongListWithoutDeepRecursion) {
    long calls = 0;
    COrbuUtilExitInfo list;
    for (long i = 0; i < 1000000; ++i) {
        list.at_exit_i(
            &calls, [](void* count, void*) { *static_cast<long*>(count) += 1; }, nullptr);
    }
    EXPECT_EQ(list.find(&calls), 1);
    EXPECT_EQ(list.find(nullptr), 0); // the sentinel is not looked at
    list.call_hooks();
    EXPECT_EQ(calls, 1000000);
}

} // namespace
