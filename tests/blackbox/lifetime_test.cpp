// What host and library must agree on: one manager, one pointer for each singleton of the library, and the
// addresses by which entries are told apart.
#include "orbuint/orbuintResHandler.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuSingleton.h"
#include "orbuutil/orbuutilObjectManager.h"

#include <gmock/gmock.h>

#include <vector>

namespace {

using testing::ElementsAre;
using testing::IsNull;

std::vector<const void*> events;

struct Counted : COrbuUtilCleanup {
    void cleanup(void* param) override { events.push_back(param); }
};

struct HostManager {
    ~HostManager() { events.push_back("host manager"); }
};

TEST(Lifetime, SharesItsSingletonsAndAddressesWithTheHost) {
    COrbuUtilObjectManagerManager::cleanup();
    // The template as this program sees it finds what the library made.
    EXPECT_EQ(COrbuUtilSingleton<COrbuIntResHandler>::instance(), COrbuIntResHandler::instance());
    EXPECT_EQ(COrbuUtilSingleton<OrbuLogger>::instance(), OrbuLogger::instance_m());
    HostManager* const manager = COrbuUtilSingleton<HostManager>::instance();
    EXPECT_EQ(COrbuUtilSingleton<HostManager>::instance(), manager);

    // The destroyer by its address here, and the marker by its: both are known to the library.
    static int value = 0;
    Counted counted;
    const auto destroyer = reinterpret_cast<COrbuUtilCleanupHook>(ORBU_CLEANUP_DESTROYER_NAME);
    COrbuUtilObjectManager::at_exit(static_cast<COrbuUtilCleanup*>(&counted), destroyer, &value);
    COrbuUtilObjectManager::at_exit(
        &orbu_exit_hook_marker,
        [](void* object, void* param) {
            events = {object, param};
        },
        &value);

    COrbuUtilObjectManagerManager::cleanup();
    EXPECT_THAT(events, ElementsAre(IsNull(), IsNull(), &value, testing::_));
    EXPECT_EQ(COrbuIntResHandler::instance()->getString("any"), "");
    COrbuUtilObjectManagerManager::cleanup();
}

} // namespace
