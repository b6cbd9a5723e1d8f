#include "headlessPresenter.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <unistd.h>
#include <utility>

#include "orbuutil/tstr.h"
#include "qmx/qmxBase.h"
#include "settings.h"

namespace {

bool readWord(std::string const& word, AnswerRule& rule) {
    size_t const sign = word.find('=');
    std::string const name = word.substr(0, sign);
    std::string const value = sign == std::string::npos ? std::string() : word.substr(sign + 1);
    if (name == "for") {
        rule.code = value;
        return value == "ErrorDialog" || value == "MessageBox";
    }
    if (name == "caption") {
        rule.caption = value;
        return !value.empty();
    }
    if (name == "after") {
        auto const duration = parseDuration(value);
        rule.after = duration.value_or(Milliseconds(0));
        return duration.has_value();
    }
    if (name == "never") {
        rule.action = AnswerRule::Action::Never;
        return sign == std::string::npos;
    }
    if (name == "button" || name == "exit") {
        rule.action = name == "exit" ? AnswerRule::Action::Exit : AnswerRule::Action::Press;
        rule.number = parseNumber(value);
        return rule.number.has_value();
    }
    return false;
}

} // namespace

bool AnswerRule::fits(Dialog const& dialog) const {
    char const* const kind = dialog.kind == Dialog::Kind::Error ? "ErrorDialog" : "MessageBox";
    return (code.empty() || code == kind) && (caption.empty() || caption == dialog.caption);
}

std::vector<AnswerRule> parseAnswerRules(std::string const& text, std::string& fault) {
    std::vector<AnswerRule> rules;
    std::string lines = text;
    std::replace(lines.begin(), lines.end(), ';', '\n');
    std::istringstream input(lines);
    for (std::string line; std::getline(input, line);) {
        AnswerRule rule;
        bool good = false;
        std::istringstream words(line);
        for (std::string word; words >> word;) {
            good = readWord(word, rule);
            if (!good) {
                fault = word;
                break;
            }
        }
        if (good) {
            rules.push_back(rule);
        }
    }
    return rules;
}

HeadlessPresenter::HeadlessPresenter(std::string const& rules, std::string rulesFile)
    : rulesFile_(std::move(rulesFile)) {
    std::string fault;
    rules_ = parseAnswerRules(rules, fault);
    if (!fault.empty()) {
        QMXBase::logError(TStr("ORBU_QMX_ANSWERS: no such rule: %1").arg(TStr(fault.c_str())));
    }
}

AnswerRule HeadlessPresenter::ruleFor(Dialog const& dialog) const {
    auto const pick = [&dialog](std::vector<AnswerRule> const& rules) -> std::optional<AnswerRule> {
        auto const found = std::find_if(rules.begin(), rules.end(),
                                        [&](AnswerRule const& rule) { return rule.fits(dialog); });
        return found == rules.end() ? std::nullopt : std::optional<AnswerRule>(*found);
    };
    std::ifstream file(rulesFile_);
    std::string fault;
    std::string const text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    auto const rule = pick(parseAnswerRules(text, fault));
    if (!fault.empty()) {
        QMXBase::logError(TStr("ORBU_QMX_ANSWERS_FILE: no such rule: %1").arg(TStr(fault.c_str())));
    }
    return rule ? *rule : pick(rules_).value_or(AnswerRule());
}

void HeadlessPresenter::open(DialogId id, Dialog const& dialog) {
    AnswerRule const rule = ruleFor(dialog);
    if (rule.action != AnswerRule::Action::Never) {
        pending_[id] = {Clock::now() + rule.after, rule.action, rule.number.value_or(dialog.focus)};
    }
}

void HeadlessPresenter::close(DialogId id) { pending_.erase(id); }

void HeadlessPresenter::setWaiting(long count, std::string const&, bool) {
    QMXBase::logDebug(TStr("waiting: %1").arg(count));
}

void HeadlessPresenter::prepare(std::vector<pollfd>&, Milliseconds& timeout) {
    auto const now = Clock::now();
    for (auto const& [id, pending] : pending_) {
        auto const left =
            std::chrono::ceil<Milliseconds>(std::max(pending.due - now, Clock::duration::zero()));
        timeout = timeout < Milliseconds::zero() ? left : std::min(timeout, left);
    }
}

std::vector<Answer> HeadlessPresenter::dispatch() {
    std::vector<Answer> answers;
    auto const now = Clock::now();
    for (auto entry = pending_.begin(); entry != pending_.end();) {
        if (entry->second.due > now) {
            ++entry;
            continue;
        }
        if (entry->second.action == AnswerRule::Action::Exit) {
            ::_exit(static_cast<int>(entry->second.number));
        }
        answers.push_back({entry->first, entry->second.number});
        entry = pending_.erase(entry);
    }
    return answers;
}
