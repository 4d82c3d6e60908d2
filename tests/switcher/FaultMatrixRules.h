#pragma once

#include <span>
#include <string>
#include <string_view>

#include "gatehall/base/Value.h"
#include "instrumented/Fault.h"

namespace gatehall::faultmatrix {

/// What a run of the tool is doing.
enum class Phase : char {
  Caller = 'C',      ///< checking who runs it
  Lookup = 'L',      ///< finding a person
  Permission = 'P',  ///< asking the login rules about the person
  HandOver = 'H',    ///< the protected region: password, attributes, switch
  Suspend = 'S',
};

/// Where in a run a call is made.
struct Site {
  Phase phase;
  std::string_view person;  ///< "" in Caller and Suspend
  std::string operation;
  /// What it is asked: "self.GUID" and "day.GUID" are an attribute of the person's record and of
  /// another one, "GUID day" is a query. Opening a node is for the call that it is opened for.
  std::string detail;
  int nth;  ///< of the calls of this phase and person that are alike, counting from 1
};

/// What must come of a failure at a site.
struct Rule {
  std::string_view phases;
  std::string_view people;     ///< names, "" anybody
  std::string_view operation;  ///< "node": what opens one; "" any
  std::string_view detail;     ///< "x*" what begins with x; "" any
  int nth;                     ///< 0 any
  std::string_view kinds;      ///< 'P' the platform's exception, 'A' absent

  enum Effect {
    Nothing,        ///< as if nothing had failed
    Skips,          ///< the person is not switched to
    Hands,          ///< the login service is asked as `what` says
    Escapes,        ///< an exception of the platform's ends the run
    RefusesCaller,  ///< the caller is told off and nothing else happens
    NoLoginScreen,
  } effect;
  std::string_view who;   ///< whom Skips and Hands are about; "" the person
  std::string_view what;  ///< how Hands asks
  std::string_view log;   ///< the line that is logged; "" none
};

/// The first one that matches counts.
std::span<const Rule> rules();

bool matches(const Rule& rule, const Site& site, Fault::Kind kind);

}  // namespace gatehall::faultmatrix
