// A presenter without windows: answers as the rules in the environment or in a file say (see usageText).
#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "presenter.h"

// One rule of how to answer. Empty conditions fit every dialog.
struct AnswerRule {
    enum class Action { Press, Never, Exit };

    std::string code;
    std::string caption;
    Milliseconds after{0};
    Action action = Action::Press;
    std::optional<long> number; // the button (none: the one with the focus), or the exit code

    bool fits(Dialog const& dialog) const;
};

// The rules in a text, in order. A rule with a word that means nothing is left out, and the word stored in
// `fault`.
std::vector<AnswerRule> parseAnswerRules(std::string const& text, std::string& fault);

class HeadlessPresenter : public Presenter {
public:
    HeadlessPresenter(std::string const& rules, std::string rulesFile);

    std::string kind() const override { return rulesFile_.empty() && rules_.empty() ? "none" : "rules"; }
    void open(DialogId id, Dialog const& dialog) override;
    void close(DialogId id) override;
    void setWaiting(long count, std::string const& locale, bool atOnce) override;
    void prepare(std::vector<pollfd>& descriptors, Milliseconds& timeout) override;
    std::vector<Answer> dispatch() override;

private:
    using Clock = std::chrono::steady_clock;

    struct Pending {
        Clock::time_point due;
        AnswerRule::Action action;
        long number;
    };

    AnswerRule ruleFor(Dialog const& dialog) const;

    std::vector<AnswerRule> rules_;
    std::string rulesFile_;
    std::map<DialogId, Pending> pending_;
};
