// The module of windows: opens the display and runs the toolkit's main loop for as long as the bridge wants.
#include <glibmm/main.h>

#include "toolkit.h"
#include "windowBridge.h"
#include "windowDesk.h"

namespace {

void serve(WindowCommand const& command, WindowDesk& desk, Glib::MainLoop& loop) {
    switch (command.kind) {
    case WindowCommand::Kind::Open:
        desk.open(command.id, command.dialog);
        break;
    case WindowCommand::Kind::Close:
        desk.close(command.id);
        break;
    case WindowCommand::Kind::Wait:
        desk.setWaiting(command.waits, command.locale, command.atOnce);
        break;
    case WindowCommand::Kind::Quit:
        loop.quit();
        break;
    }
}

} // namespace

extern "C" __attribute__((visibility("default"))) int qmx_windows_run(WindowBridge& bridge) {
    if (!startToolkit()) {
        return 0;
    }
    bridge.showing();

    WindowDesk desk([&bridge](DialogId id, long button) { bridge.answered(id, button); }, bridge.folders());
    auto const loop = Glib::MainLoop::create();
    auto commands = Glib::signal_io().connect(
        [&](Glib::IOCondition) {
            for (WindowCommand const& command : bridge.take()) {
                serve(command, desk, *loop.get());
            }
            return true;
        },
        bridge.descriptor(), Glib::IOCondition::IO_IN);
    loop->run();
    commands.disconnect();
    return 1;
}
