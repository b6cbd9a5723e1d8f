// What a host does with the shared library: its own instantiations beside the library's, plain calls on
// handles of objects, and one set of statics, singletons and addresses for both sides.
#include "orbuint/orbuintResHandler.h"
#include "orbulog/orbuLogger.h"
#include "orbuutil/orbuSingleton.h"
#include "orbuutil/orbuutilObjectManager.h"
#include "orbuutil/tlist.h"
#include "orbuutil/tmap.h"
#include "orbuutil/tstrList.h"

#include <gmock/gmock.h>

namespace {

TEST(Host, SharesOneInfoRecordWithTheLibrary) {
    // A list that the library made, and one that is made here.
    TList<TStr> split = stringSplit("a,b,c", ",");
    TList<TStr> own;
    list_push(own.handle(), &split.front());
    EXPECT_EQ(list_info(split.handle()), list_info(own.handle()));
    EXPECT_EQ(stringJoin(own, "+"), "a");
}

TEST(Host, MakesInstantiationsOfItsOwn) {
    TMap<TStr, int> ages;
    const TStr name("Ada");
    const int age = 36;
    hashmap_insert(ages.handle(), &name, &age);
    hashmapiter* place = hashmap_find(ages.handle(), &name);
    EXPECT_EQ(*static_cast<int*>(hashmapiter_dereference(place)), 36);
    hashmapiter_uninit(place);
    EXPECT_EQ(list_count(ages.keys().handle()), 1);
}

std::vector<const void*> events;

struct Counted : COrbuUtilCleanup {
    void cleanup(void* param) override { events.push_back(param); }
};

TEST(Host, SharesSingletonsAndAddressesWithTheLibrary) {
    COrbuUtilObjectManagerManager::cleanup();
    // The template as this program sees it finds what the library made.
    EXPECT_EQ(COrbuUtilSingleton<COrbuIntResHandler>::instance(), COrbuIntResHandler::instance());
    EXPECT_EQ(COrbuUtilSingleton<OrbuLogger>::instance(), OrbuLogger::instance_m());

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
    EXPECT_EQ(events, (std::vector<const void*>{nullptr, nullptr, &value}));
    EXPECT_EQ(COrbuIntResHandler::instance()->getString("any"), "");
    COrbuUtilObjectManagerManager::cleanup();
}

} // namespace
