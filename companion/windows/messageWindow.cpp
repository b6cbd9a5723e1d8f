#include "messageWindow.h"

#include <utility>

#include "plainText.h"

namespace {

constexpr std::size_t kLongestWord = 200;

// A button without a word is told by its place.
std::vector<std::string> wordsOf(Dialog const& dialog, Texts& texts) {
    if (dialog.buttons.empty()) {
        return {texts.get(dialog.locale, "ok")};
    }
    std::vector<std::string> words;
    for (std::string const& button : dialog.buttons) {
        std::string const word = oneLine(button, kLongestWord);
        words.push_back(word.find_first_not_of(' ') == std::string::npos ? std::to_string(words.size() + 1)
                                                                         : word);
    }
    return words;
}

} // namespace

MessageWindow::MessageWindow(Dialog const& dialog, Texts& texts, Answered answered)
    : DialogWindow(dialog, wordsOf(dialog, texts), texts, std::move(answered)) {}
