// What shows the dialogs, and what becomes of them where there is no display. (On a display: tests/windows.)
#include "support/processes.h"

namespace {

using PresenterTest = ProcessTest;

TEST_F(PresenterTest, WithoutADisplayDialogsGoToTheOtherPresenter) {
    static constexpr char nowhere[] = ":60000"; // loads the toolkit, in vain
    struct {
        char const* shows;
        char const* display;
        char const* answers;
        char const* kind;
        long button; // the focus is on 1
    } const cases[] = {
        {"headless", nowhere, "", "none", 1},
        {"auto", nowhere, "", "none", 1},
        {"auto", nowhere, "button=2", "rules", 2},
    };
    setVariable("WAYLAND_DISPLAY", "");
    for (auto const& step : cases) {
        setVariable("ORBU_QMX_PRESENTER", step.shows);
        setVariable("DISPLAY", step.display);
        setVariable("ORBU_QMX_ANSWERS", step.answers);
        Client client = connect();
        ASSERT_TRUE(client);
        QMXPipePacket box;
        EXPECT_EQ(call(*client, "qmx.MessageBox", box, 1), 0);
        EXPECT_EQ(box.attributeAsLong("selected_button"), step.button) << step.shows << step.display;
        QMXPipePacket presenter;
        EXPECT_EQ(call(*client, "qmx.Presenter", presenter), 0);
        EXPECT_STREQ(presenter.attributeAsString("presenter").toUtf8(), step.kind)
            << step.shows << step.display;
        client.reset();
        ASSERT_TRUE(signalServer(SIGTERM));
        ASSERT_TRUE(eventually([this] { return !fileExists(prefix()); }));
    }
}

} // namespace
