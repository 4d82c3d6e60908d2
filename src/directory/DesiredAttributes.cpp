#include "gatehall/directory/DesiredAttributes.h"

#include "gatehall/platform/AttributeKinds.h"

namespace gatehall {

const Strings& desiredUserAttributes() {
  // PrimaryGroupID stands twice; directories have always been asked so.
  static const Strings kinds = {
      std::string(attribute::MetaNodeLocation),
      std::string(attribute::AuthenticationAuthority),
      std::string(attribute::HomeDirectory),
      std::string(attribute::NFSHomeDirectory),
      std::string(attribute::Password),
      std::string(attribute::Picture),
      std::string(attribute::JPEGPhoto),
      std::string(attribute::PrimaryGroupID),
      std::string(attribute::FullName),
      std::string(attribute::RecordName),
      std::string(attribute::UniqueID),
      std::string(attribute::UserShell),
      std::string(attribute::GUID),
      std::string(attribute::CopyTimestamp),
      std::string(attribute::OriginalNodeName),
      std::string(attribute::PrimaryGroupID),
      std::string(attribute::TavloSettings),
      std::string(attribute::Guest),
      std::string(attribute::External),
  };
  return kinds;
}

}  // namespace gatehall
