#include <utility>

#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

CallFacts describe(std::string_view key, std::string_view domain) {
  return {{{"key", key}, {"domain", domain}}, {}, {std::string(key), std::string(domain)}, {}, {}};
}

class InstrumentedPreferences : public PreferenceStore {
 public:
  InstrumentedPreferences(Platform& host, std::shared_ptr<PreferenceStore> substitute,
                          std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mSubstitute(std::move(substitute)), mInstruments(std::move(instruments)) {}

  std::optional<Value> copyApplicationValue(std::string_view key,
                                            std::string_view domain) override {
    const auto facts = [&] { return describe(key, domain); };
    if (mInstruments->answersNothing("copyApplicationValue", facts)) return std::nullopt;
    return store().copyApplicationValue(key, domain);
  }

  bool applicationBoolean(std::string_view key, std::string_view domain, bool& exists) override {
    const auto facts = [&] { return describe(key, domain); };
    if (mInstruments->answersNothing("applicationBoolean", facts)) {
      exists = false;
      return false;
    }
    return store().applicationBoolean(key, domain, exists);
  }

  void synchronizePreferences(std::string_view domain) override {
    const auto facts = [&] {
      return CallFacts{{{"domain", domain}}, {}, {std::string(domain)}, {}, {}};
    };
    if (mInstruments->answersNothing("synchronizePreferences", facts)) return;
    store().synchronizePreferences(domain);
  }

 private:
  PreferenceStore& store() const { return mSubstitute ? *mSubstitute : mHost.preferences(); }

  Platform& mHost;
  std::shared_ptr<PreferenceStore> mSubstitute;
  std::shared_ptr<Instrumentation> mInstruments;
};

class InstrumentedPropertyLists : public PropertyListReader {
 public:
  InstrumentedPropertyLists(Platform& host, std::shared_ptr<PropertyListReader> substitute,
                            std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mSubstitute(std::move(substitute)), mInstruments(std::move(instruments)) {}

  std::optional<Value> readPropertyList(std::string_view path) override {
    const auto facts = [&] { return CallFacts{{{"path", path}}, {}, {std::string(path)}, {}, {}}; };
    if (mInstruments->answersNothing("readPropertyList", facts)) return std::nullopt;
    return (mSubstitute ? *mSubstitute : mHost.propertyLists()).readPropertyList(path);
  }

 private:
  Platform& mHost;
  std::shared_ptr<PropertyListReader> mSubstitute;
  std::shared_ptr<Instrumentation> mInstruments;
};

}  // namespace

std::unique_ptr<PreferenceStore> preferences(Platform& host,
                                             std::shared_ptr<PreferenceStore> substitute,
                                             std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedPreferences>(host, std::move(substitute),
                                                   std::move(instruments));
}

std::unique_ptr<PropertyListReader> propertyLists(Platform& host,
                                                  std::shared_ptr<PropertyListReader> substitute,
                                                  std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedPropertyLists>(host, std::move(substitute),
                                                     std::move(instruments));
}

}  // namespace gatehall::instrumented
