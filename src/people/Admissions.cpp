#include "people/Admissions.h"

#include <ranges>
#include <utility>

#include "listing/Gatehalld.h"

namespace gatehall {

namespace {

/// The service answers 64 of a user id at once, and others may have that of ours.
constexpr std::size_t kMostAtOnce = 16;

constexpr std::chrono::seconds kLongestAnswer{60};
/// While somebody waits in front of the screen.
constexpr std::chrono::seconds kLongestPatience{5};

/// What came of a question; absent for an error. The account may have got another user id
/// meanwhile: that answer is about somebody else.
std::optional<Admission> admissionOf(const BusAnswer& answer, const ListedUser& user) {
  if (!answer.error.empty()) return std::nullopt;
  const auto* entries = answer.values.size() == 1 ? answer.values[0].dictionary() : nullptr;
  if (entries == nullptr) return Admission();
  const auto flag = [](const Dictionary& in, const char* key) -> const bool* {
    const auto found = in.find(key);
    return found != in.end() ? std::get_if<bool>(&found->second.storage()) : nullptr;
  };
  const auto* allowed = flag(*entries, "allowed");
  if (allowed == nullptr) return Admission();
  const auto uid = entries->find("uid");
  if (uid != entries->end() && uid->second != Value(std::int64_t{user.uid})) return Admission();

  Admission admission;
  const auto sentence = entries->find("sentence");
  if (sentence != entries->end() && sentence->second.string() != nullptr) {
    admission.sentence = *sentence->second.string();
  }
  const auto hours = entries->find("hours");
  const auto* hoursEntries = hours != entries->end() ? hours->second.dictionary() : nullptr;
  const auto* isNow = hoursEntries != nullptr ? flag(*hoursEntries, "allowedNow") : nullptr;
  const auto rule = entries->find("rule");
  const bool isUndecided =
      rule != entries->end() && (rule->second == Value(std::string("undecidable")) ||
                                 rule->second == Value(std::string("directory away")));
  if (isUndecided) return admission;  // Unknown, and why
  const bool isInHours = isNow == nullptr || *isNow;
  admission.state =
      *allowed && isInHours ? Admission::State::MayLogIn : Admission::State::MayNotLogIn;
  admission.isByHours = *allowed && !isInHours;
  return admission;
}

}  // namespace

Admissions::Admissions(MainLoop& runLoop, EventLoop& events, const HostOptions& options, Log& log,
                       std::string locale, Told told)
    : mBus(runLoop, events, options, log), mLocale(std::move(locale)), mTold(std::move(told)) {
  // Only with somebody to follow the connection says when it is up.
  mBus.follow(gatehalld::kName, [](bool) {});
  mBus.start(
      [this](bool) {
        mIsListening = true;
        askNext();
      },
      [this](const std::string&) { mIsListening = false; });
}

void Admissions::askFirst(const std::vector<Question>& questions) {
  for (const auto& question : std::views::reverse(questions)) {
    mWaiting[question.key] = question;
    mOrder.push_front(question.key);
  }
  askNext();
}

void Admissions::askLast(const std::vector<Question>& questions) {
  for (const auto& question : questions) {
    if (!mWaiting.contains(question.key)) mOrder.push_back(question.key);
    mWaiting[question.key] = question;
  }
  askNext();
}

void Admissions::askNow(const Question& question, std::function<void(const Admission&)> then) {
  mWaiting.erase(question.key);
  ask(question, kLongestPatience, std::move(then));
}

void Admissions::forget() {
  mOrder.clear();
  mWaiting.clear();
}

void Admissions::askNext() {
  while (mIsListening && mUnanswered < kMostAtOnce && !mOrder.empty()) {
    const auto waiting = mWaiting.find(mOrder.front());
    mOrder.pop_front();
    if (waiting == mWaiting.end()) continue;
    const auto question = waiting->second;
    mWaiting.erase(waiting);
    ask(question, kLongestAnswer, {});
  }
}

void Admissions::ask(const Question& question, std::chrono::microseconds limit,
                     std::function<void(const Admission&)> then) {
  const auto number = ++mLastQuestion;
  mAsked[question.key] = number;
  ++mUnanswered;
  const auto& name = question.user->shortName;
  const bool hasName = name && !name->empty();
  const BusMethod method{gatehalld::kName, gatehalld::kPath, gatehalld::kInterface,
                         hasName ? "CanLogIn" : "CanLogInByID"};
  BusArguments arguments;
  if (hasName) {
    arguments.emplace_back(*name);
  } else {
    arguments.emplace_back(question.user->uid);
  }
  arguments.emplace_back(mLocale);
  mBus.call(method, arguments, limit,
            [this, question, number, then = std::move(then)](const BusAnswer& answer) {
              --mUnanswered;
              const auto admission = admissionOf(answer, *question.user);
              // An answer to an earlier question may come later.
              const auto latest = mAsked.find(question.key);
              if (latest != mAsked.end() && latest->second == number) {
                mAsked.erase(latest);
                mTold(question.key, admission);
              }
              if (then) then(admission.value_or(Admission()));
              askNext();
            });
}

}  // namespace gatehall
