#include "linux/ldap/client/Searches.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

namespace gatehall::ldap {

namespace {

/// Searches that a server is sent before it has answered one. Servers close connections that have
/// too many waiting; the usual limit for anonymous ones is 100.
constexpr std::size_t kAtATime = 16;

std::atomic<std::uint64_t> gSearchesSent{0};

const Library& library() { return Library::get(); }

}  // namespace

std::uint64_t Connection::searchesSent() { return gSearchesSent; }

Searches::Searches(const Dialogue& dialogue, std::span<const Search> searches, const Limits& limits,
                   std::optional<std::int32_t> pageSize, const Connection::Sink& sink)
    : mDialogue(dialogue),
      mSearches(searches),
      mLimits(limits),
      mPageSize(pageSize),
      mSink(sink),
      mResults(searches.size()) {}

std::vector<Result> Searches::run() {
  sendMore();
  auto deadline = answerDeadline();
  while (!mRunning.empty()) {
    Dialogue::Message message;
    try {
      message = mDialogue.wait(LDAP_RES_ANY, deadline);
    } catch (const ConnectionLost& lost) {
      throw ConnectionLost(lost.what() + howFar(lost.timedOut(), deadline), lost.timedOut(),
                           mHasBegun);
    }
    const auto search = mRunning.find(library().msgid(message.get()));
    if (search == mRunning.end()) continue;
    const auto index = search->second;
    const int type = library().msgtype(message.get());
    if (type == LDAP_RES_SEARCH_ENTRY) takeEntry(index, message.get());
    if (type == LDAP_RES_SEARCH_REFERENCE) takeReference(index, message.get());
    if (type != LDAP_RES_SEARCH_RESULT) continue;
    mRunning.erase(search);
    takeResult(index, message.get());
    sendMore();
    deadline = answerDeadline();
  }
  return std::move(mResults);
}

/// Whoever reads of a limit that is over wants to know which to set, and how high.
std::string Searches::howFar(bool isLate, Deadline deadline) const {
  std::string text;
  if (mEntries > 0) {
    text = "; " + std::to_string(mEntries) + (mEntries == 1 ? " entry" : " entries") + " had come";
  }
  if (isLate) text += deadline < mLimits.total ? " (time-limit)" : " (total-time-limit)";
  return text;
}

Deadline Searches::answerDeadline() const {
  return std::min(mLimits.total, std::chrono::steady_clock::now() + mLimits.answer);
}

void Searches::sendMore() {
  while (mRunning.size() < kAtATime) {
    if (mUnsent.empty()) {
      if (mNext == mSearches.size() || (mSearches[mNext].isPaged && mPages)) return;
      if (mSearches[mNext].isPaged) mPages.emplace(mPageSize);
      mUnsent.push_back(mNext++);
    }
    if (send(mUnsent.back())) {
      mUnsent.pop_back();
    } else if (mRunning.empty()) {
      mDialogue.lose("nothing can be sent", false);
    } else {
      return;  // what is on its way out has to be there before it is answered
    }
  }
}

/// False while a request that was sent before is still on its way out.
bool Searches::send(std::size_t index) {
  const bool isPaged = mSearches[index].isPaged;
  const auto operation = request(mSearches[index], isPaged ? &*mPages : nullptr);
  if (!operation) return false;
  if (isPaged) mPages->start();
  mDialogue.transport().gathers = mPages && !mPages->cookie().empty();
  mRunning.emplace(*operation, index);
  return true;
}

std::optional<int> Searches::request(const Search& search, const Pages* pages) const {
  std::vector<char*> attributes;
  attributes.reserve(search.attributes.size() + 1);
  for (const auto& each : search.attributes) attributes.push_back(const_cast<char*>(each.c_str()));
  attributes.push_back(nullptr);
  Owned<LDAPControl> page;
  if (pages != nullptr) {
    auto at = viewOf(pages->cookie());
    LDAPControl* made = nullptr;
    mDialogue.check(library().create_page_control(mDialogue.ldap(), pages->size(), &at, 0, &made));
    page.reset(made);
  }
  std::array<LDAPControl*, 2> controls{page.get(), nullptr};
  int operation = 0;
  const int status = library().search_ext(
      mDialogue.ldap(), search.base.c_str(),
      search.scope == Search::Scope::Base ? LDAP_SCOPE_BASE : LDAP_SCOPE_SUBTREE,
      search.filter.c_str(), attributes.data(), 0, controls.data(), nullptr, nullptr, LDAP_NO_LIMIT,
      &operation);
  if (status == LDAP_BUSY) return std::nullopt;
  mDialogue.check(status);
  ++gSearchesSent;
  return operation;
}

void Searches::takeEntry(std::size_t index, LDAPMessage* message) {
  mHasBegun = true;
  ++mEntries;
  if (mSearches[index].isPaged) mPages->addEntry();
  BerElement* opened = nullptr;
  berval name{};
  const int status = library().get_dn_ber(mDialogue.ldap(), message, &opened, &name);
  const Owned<BerElement> entry(opened);
  std::size_t count = 0;
  bool isWhole = status == LDAP_SUCCESS;
  while (isWhole) {
    berval attribute{};
    berval* values = nullptr;
    isWhole = library().get_attribute_ber(mDialogue.ldap(), message, opened, &attribute, &values) ==
              LDAP_SUCCESS;
    const Owned<berval> owner(values);
    if (!isWhole || attribute.bv_val == nullptr) break;
    if (mRoom.size() == count) mRoom.emplace_back();
    auto& each = mRoom[count++];
    each.name = textOf(attribute);
    each.values.clear();
    for (const auto* value = values; value != nullptr && value->bv_val != nullptr; ++value) {
      each.values.push_back(textOf(*value));
    }
  }
  if (isWhole) {
    mSink(index, textOf(name), std::span(mRoom.data(), count));
  } else {
    mSink(index, {}, {});
  }
}

void Searches::takeReference(std::size_t index, LDAPMessage* message) {
  char** referrals = nullptr;
  const int status = library().parse_reference(mDialogue.ldap(), message, &referrals, nullptr, 0);
  const Owned<char*> owner(referrals);
  if (status != LDAP_SUCCESS) mDialogue.lose("a reference that can't be read", false);
  Dialogue::addReferrals(mResults[index], referrals);
}

void Searches::takeResult(std::size_t index, LDAPMessage* message) {
  auto answer = mDialogue.parse(message);
  auto& result = mResults[index];
  result.code = answer.result.code;
  result.text = std::move(answer.result.text);
  result.referrals.insert(result.referrals.end(), answer.result.referrals.begin(),
                          answer.result.referrals.end());
  if (!mSearches[index].isPaged) return;
  if (mPages->advance(result, cookieOf(answer), mLimits.answer)) {
    mHasBegun = true;
    mUnsent.push_back(index);
  } else {
    mPages.reset();
    mDialogue.transport().gathers = false;
  }
}

std::string Searches::cookieOf(const Dialogue::Answer& answer) const {
  auto* control = library().control_find(LDAP_CONTROL_PAGEDRESULTS, answer.controls.get(), nullptr);
  if (control == nullptr) {
    // A server that knows no pages answers the first request with all there is.
    if (answer.result.isSuccess() && !mPages->cookie().empty()) {
      mDialogue.lose("a page without the place of the next one", false);
    }
    return {};
  }
  ber_int_t estimate = 0;
  berval cookie{};
  const int status =
      library().parse_pageresponse_control(mDialogue.ldap(), control, &estimate, &cookie);
  const Owned<char> owner(cookie.bv_val);
  if (status != LDAP_SUCCESS) mDialogue.lose("a page that can't be read", false);
  return std::string(textOf(cookie));
}

}  // namespace gatehall::ldap
