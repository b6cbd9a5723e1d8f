#include "qmx/qmxBase.h"
#include "qmx/qmxLogPrivate.h"
#include "support/model.h"

#include <gtest/gtest.h>

namespace {

struct Told : QMXBase {
    explicit Told(int& deleted) : mDeleted(deleted) {}
    Told(Told const& other) = default;
    ~Told() override { mDeleted += 1; }

    int& mDeleted;
};

TEST(Base, TheCountStaysWithItsObject) {
    int deleted = 0;
    auto* source = new Told(deleted);
    source->retain();
    auto* copy = new Told(*source);
    static_cast<QMXBase&>(*copy) = *source;

    EXPECT_EQ(source->release(), 1);
    EXPECT_EQ(source->release(), 0);
    EXPECT_EQ(deleted, 1);
    EXPECT_EQ(copy->release(), 0);
    EXPECT_EQ(deleted, 2);
}

TEST(Base, CountersCountAndSpeakAtTheirEndWhenOutOfBalance) {
    testing::internal::CaptureStderr();
    {
        QMXBaseStaticCounter balanced("balanced", 5);
        balanced.increment(3);
        EXPECT_EQ(balanced.difference(), 3);
        balanced.decrement(3);
        QMXBaseStaticCounter short_of_two("short of two", 5);
        short_of_two.decrement(2);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "!!!!! -----------\n!!!!! Counter Discrepancy detected at shutdown in short of two: -2\n"
              "!!!!! ---------\n\n");

    const long instances = QMXBasePrivate::mAllocatedInstances.value();
    QMXBase::incrementAllocatedBytes(40); // an instance, too
    EXPECT_EQ(QMXBase::allocatedBytes(), 40);
    EXPECT_EQ(QMXBasePrivate::mAllocatedInstances.value(), instances + 1);
    QMXBase::decrementAllocatedBytes(40);
}

TEST(Base, MessagesReachTheSinkThatIsSet) {
    QMXBase::logError("nobody listens");
    Reports reports(true);
    QMXBase::logError(-12, "gone");
    QMXBase::logDebug("seen");
    qmxLogError("%1 of %2", TStr("one"), 2L);
    // arg empties a text that has no placeholder for it.
    qmxLogDebug("no place", 1);
    EXPECT_EQ(reports.take(), (Texts{"Error -12 gone", "seen", "Error  one of 2", ""}));
}

} // namespace
