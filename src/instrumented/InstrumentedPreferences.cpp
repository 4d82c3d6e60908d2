#include <utility>

#include "instrumented/InstrumentedServices.h"

namespace gatehall::instrumented {

namespace {

CallFacts describe(std::string_view key, std::string_view domain) {
  return {{{"key", key}, {"domain", domain}}, {}, {std::string(key), std::string(domain)}, {}, {}};
}

class InstrumentedPreferences : public PreferenceStore {
 public:
  InstrumentedPreferences(Platform& host, std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  std::optional<Value> copyApplicationValue(std::string_view key,
                                            std::string_view domain) override {
    const auto facts = [&] { return describe(key, domain); };
    if (mInstruments->answersNothing("copyApplicationValue", facts)) return std::nullopt;
    return mHost.preferences().copyApplicationValue(key, domain);
  }

  bool applicationBoolean(std::string_view key, std::string_view domain, bool& exists) override {
    const auto facts = [&] { return describe(key, domain); };
    if (mInstruments->answersNothing("applicationBoolean", facts)) {
      exists = false;
      return false;
    }
    return mHost.preferences().applicationBoolean(key, domain, exists);
  }

  void synchronizePreferences(std::string_view domain) override {
    const auto facts = [&] {
      return CallFacts{{{"domain", domain}}, {}, {std::string(domain)}, {}, {}};
    };
    if (mInstruments->answersNothing("synchronizePreferences", facts)) return;
    mHost.preferences().synchronizePreferences(domain);
  }

 private:
  Platform& mHost;
  std::shared_ptr<Instrumentation> mInstruments;
};

class InstrumentedPropertyLists : public PropertyListReader {
 public:
  InstrumentedPropertyLists(Platform& host, std::shared_ptr<Instrumentation> instruments)
      : mHost(host), mInstruments(std::move(instruments)) {}

  std::optional<Value> readPropertyList(std::string_view path) override {
    const auto facts = [&] { return CallFacts{{{"path", path}}, {}, {std::string(path)}, {}, {}}; };
    if (mInstruments->answersNothing("readPropertyList", facts)) return std::nullopt;
    return mHost.propertyLists().readPropertyList(path);
  }

 private:
  Platform& mHost;
  std::shared_ptr<Instrumentation> mInstruments;
};

}  // namespace

std::unique_ptr<PreferenceStore> preferences(Platform& host,
                                             std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedPreferences>(host, std::move(instruments));
}

std::unique_ptr<PropertyListReader> propertyLists(Platform& host,
                                                  std::shared_ptr<Instrumentation> instruments) {
  return std::make_unique<InstrumentedPropertyLists>(host, std::move(instruments));
}

}  // namespace gatehall::instrumented
