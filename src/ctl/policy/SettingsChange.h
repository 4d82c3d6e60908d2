#pragma once

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "ctl/print/Json.h"
#include "ctl/print/Table.h"
#include "gatehall/base/Value.h"
#include "portable/formats/PropertyListEdit.h"

namespace gatehall::ctl {

/// A change of a file with the login screen's settings. What is not asked for stays as it stands.
class SettingsChange {
 public:
  /// Of what the file holds now, without a fault; empty when there is none.
  explicit SettingsChange(std::string_view content);

  /// The entries of a list that other settings have and that holds as long as this file has none:
  /// it goes on from them where it gets a list of its own.
  void inherit(const std::string& key, const std::vector<CommentedText>& entries,
               const std::string& whose);

  /// Puts who is meant on the list "AllowList" or "DenyList", and takes them off the other one.
  void allow(const std::vector<CommentedText>& entries);
  void deny(const std::vector<CommentedText>& entries);

  /// Takes who is meant off both lists. Raises UsageError for somebody who is on neither.
  void takeOff(const std::vector<CommentedText>& entries);

  /// Sets a boolean from a word that says yes or no. Raises UsageError for other words.
  void setBoolean(const std::string& key, const Strings& words);
  /// The list has these entries then, and those of them that it had stay as they are written.
  void setList(const std::string& key, const std::vector<CommentedText>& entries);

  /// Takes the keys out, all of them without any named. Raises UsageError for a key that the file
  /// doesn't have.
  void reset(const Strings& keys);

  /// What the file holds then.
  const std::string& content() const { return mEdit.text(); }

  /// [{"key", "before", "after": the values or null}], by key.
  Json json() const;

  /// A line a key, and a line an entry that comes or goes. The names are of entries.
  Table table(const std::map<std::string, std::string>& names) const;

  /// What an administrator might not expect of it, a sentence each.
  const Strings& remarks() const { return mRemarks; }

 private:
  void move(const std::vector<CommentedText>& entries, const std::string& to,
            const std::string& from);
  bool remove(const std::string& key, const std::string& entry);
  void takeOver(const std::string& key);
  void readAgain();

  PropertyListEdit mEdit;
  Dictionary mBefore;
  Dictionary mSettings;
  Strings mRemarks;

  struct Inherited {
    std::vector<CommentedText> entries;
    std::string whose;
  };
  std::map<std::string, Inherited> mInherited;  ///< by key
};

/// The setting of that name. Raises UsageError, with the nearest one, for no setting's.
std::string settingNamed(const std::string& name);

}  // namespace gatehall::ctl
