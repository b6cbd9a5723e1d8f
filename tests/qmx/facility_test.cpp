#include "orbuutil/tstrList.h"
#include "transport.h"

namespace {

std::string valueOf(QMXPipeFacility& facility, char const* dictionary, char const* key) {
    QMXDictionary* found = facility.selectDictionary(dictionary);
    if (found == nullptr) {
        return "no dictionary";
    }
    std::string const value = text(found->getString(key));
    found->release();
    return value;
}

using FacilityTest = TransportTest;

TEST_F(FacilityTest, ReadsSelectDictionaries) {
    char const* table[] = {
        "base",    nullptr,                                                              //
        "plain",   nullptr, "a b", nullptr, "list",  "x",     "y z",   nullptr, nullptr, //
        "derived", "base",  "own", nullptr, nullptr, nullptr, nullptr,                   //
        "orphan",  "later", "own", nullptr, "1",     nullptr, nullptr, "later", "",      nullptr, nullptr,
    };
    char const* nothing[] = {nullptr};
    struct {
        char const *dictionary, *key, *value;
    } const expected[] = {
        {"base", "plain", "a!20b"}, {"base", "list", "#3:x,y!20z,"},
        {"derived", "own", ""},     {"derived", "plain", "a!20b"},
        {"orphan", "own", "1"},     {"orphan", "plain", ""},
        {"later", "plain", ""},     {"none", "plain", "no dictionary"},
    };
    expectError("Error  Could not find parent dictionary: later for orphan");
    QMXPipeFacility facility;
    facility.readSelectDictionaries(table);
    facility.readSelectDictionaries(nothing);
    for (auto const& each : expected) {
        EXPECT_EQ(valueOf(facility, each.dictionary, each.key), each.value)
            << each.dictionary << "." << each.key;
    }
}

TEST_F(FacilityTest, TableOfFacilities) {
    QMXPipeConduit::unregisterFacility("none"); // no table yet
    QMXPipeFacility plain;
    {
        Side first(true);
        Side internal(true, true);
        QMXPipeFacility* const system = QMXPipeConduit::findFacility("system");
        EXPECT_EQ(text(QMXPipeConduit::findFacility("systemInternal")->facility()), "systemInternal");
        {
            Side second(true); // takes the name over, and takes it along
            EXPECT_NE(QMXPipeConduit::findFacility("system"), system);
        }
        EXPECT_EQ(QMXPipeConduit::findFacility("system"), nullptr);
        EXPECT_EQ(text(QMXPipeConduit::registerFacility(&plain, "")), "none");
        EXPECT_EQ(text(QMXPipeConduit::registerFacility(&plain, "given")), "given");
        EXPECT_EQ(text(stringJoin(QMXPipeConduit::listFacilities(), ",")), "none,given");
        plain.setHidden(true);
        EXPECT_TRUE(list_is_empty(QMXPipeConduit::listFacilities().handle()));
        QMXPipeConduit::unregisterFacility("none");
        QMXPipeConduit::unregisterFacility("given");
    }
    EXPECT_EQ(QMXPipeConduit::spFacilities, nullptr) << "the last one out deletes the table";
}

} // namespace
