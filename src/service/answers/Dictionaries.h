#pragma once

#include "explain/Properties.h"
#include "gatehall/base/Value.h"
#include "listing/ListedUser.h"

namespace gatehall::service {

/// What there is of the properties: without those that have no content, and without lists of
/// dictionaries that have none.
Dictionary dictionaryOf(const Properties& properties);

/// A user under the names of ListedUser's fields, without what is absent; with or without what
/// parental controls say.
Dictionary dictionaryOf(const ListedUser& user, bool withHours);

}  // namespace gatehall::service
