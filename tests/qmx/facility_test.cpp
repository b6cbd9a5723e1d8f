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
    expectError("Error  Could not find parent dictionary: later for orphan");
    QMXPipeFacility facility;
    facility.readSelectDictionaries(table);
    facility.readSelectDictionaries(nothing);
    EXPECT_EQ(valueOf(facility, "base", "plain"), "a!20b");
    EXPECT_EQ(valueOf(facility, "base", "list"), "#3:x,y!20z,");
    EXPECT_EQ(valueOf(facility, "derived", "plain"), "a!20b");
    EXPECT_EQ(valueOf(facility, "derived", "own"), "");
    EXPECT_EQ(valueOf(facility, "orphan", "own"), "1");
    EXPECT_EQ(valueOf(facility, "none", "plain"), "no dictionary");
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
        QMXPipeConduit::registerFacility(&plain, "given");
        EXPECT_EQ(text(stringJoin(QMXPipeConduit::listFacilities(), ",")), "none,given");
        plain.setHidden(true);
        EXPECT_TRUE(list_is_empty(QMXPipeConduit::listFacilities().handle()));
        QMXPipeConduit::unregisterFacility("none");
        QMXPipeConduit::unregisterFacility("given");
    }
    EXPECT_EQ(QMXPipeConduit::spFacilities, nullptr) << "the last one out deletes the table";
}

} // namespace
