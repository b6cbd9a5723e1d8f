// The smallest host that shows all three dialogs. Read it from main() on; what each call promises stands in
// orbuint/orbuintHost.h, orbuint/orbuintutil.h and orbuint/OrbuIntWaitDialog.h.
//
// usage: host [LOCALE]          such as de_DE; en_US if it is left out
//
// Without a display the companion server answers by itself: ORBU_QMX_ANSWERS='button=1' (see QMX --help).
#include "../runtime.h"

#include "orbuint/OrbuIntWaitDialog.h"
#include "orbuint/orbuintHost.h"
#include "orbuint/orbuintResHandler.h"
#include "orbuint/orbuintutil.h"
#include "orbuutil/orbuUtil.h"

#include <chrono>
#include <cstdio>
#include <thread>

namespace {

// What a host with windows does here: lets its event loop run once around. This one counts.
void pumpEvents(void* context) { ++*static_cast<long*>(context); }

// A host takes its own windows' focus back here, or greys them out.
void onDialog(unsigned int* event, long) {
    if (event != nullptr) {
        std::printf("  a dialog %s\n", *event == 1 ? "opens" : "has closed");
    }
    OrbuIntUtil::orbuIntDealloc(event);
}

TStr text(char const* id) { return COrbuIntResHandler::instance()->getString(id); }

void saveFile() {
    COrbuIntWaitDialog wait(true); // the server comes up while we begin
    std::printf("wait dialog: show gives %d\n", wait.show());
    std::this_thread::sleep_for(std::chrono::milliseconds(1500));
    std::printf("wait dialog: close gives %d\n", wait.close());
}

} // namespace

int main(int argc, char** argv) {
    std::setvbuf(stdout, nullptr, _IOLBF, 0);
    useRuntimeOfLibrary();

    // 1. Say who we are, and where records of errors go. Their texts would come to the callback in the
    // middle; there is none here.
    TStr const log = OrbuUtil::getTempFolder() + "orbu-example-host.log";
    if (COrbuIntHost::initialize(argc > 1 ? argv[1] : "en_US", nullptr, log) != 0) {
        std::printf("no texts for this locale: buttons will have no labels\n");
    }
    long rounds = 0;
    COrbuIntHost::instance()->setAppProcessEventsCallback(pumpEvents, &rounds);
    COrbuIntHost::instance()->setOrBUDialogDisplayCallback(onDialog, 0);

    // 2. A window for as long as we are busy.
    saveFile();

    // 3. A text to be read. This call returns when the user closes it.
    bool const shown =
        OrbuIntUtil::showErrorDialog(text("caption_error"), text("sample_title"), text("sample_detail"), 1);
    std::printf("error dialog: %s\n", shown ? "closed by the user" : text("no_server").toUtf8());

    // 4. A question: the ids of two labels, the second with the focus.
    long const button =
        OrbuIntUtil::showMessageBox(text("caption_question"), text("sample_title"), 2, "retry", "cancel", 1);
    std::printf("message box: %s\n", button < 0    ? "no answer"
                                     : button == 0 ? "button 0, try again"
                                                   : "button 1, cancel");
    std::printf("rounds of the event loop meanwhile: %s\n", rounds > 0 ? "many" : "none");

    // 5. The orderly end. A return from main would do as well.
    COrbuIntHost::shutdown();
    return shown && button >= 0 ? 0 : 1;
}
