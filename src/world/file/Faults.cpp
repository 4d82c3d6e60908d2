#include <limits>
#include <utility>

#include "world/file/WorldFile.h"

namespace gatehall {

namespace {

Fault::Where readWhere(const JsonCursor& at) {
  at.object({"node", "attribute", "value", "user"});
  // A value or a user may be a number, as ids are elsewhere in the file.
  const auto text = [&](std::string_view key) -> std::optional<std::string> {
    const auto found = at.find(key);
    if (!found) return std::nullopt;
    return found->isInteger() ? std::to_string(found->integer()) : found->string();
  };
  return {text("node"), text("attribute"), text("value"), text("user")};
}

Fault::Kind readKind(const JsonCursor& at) {
  const auto raise = at.find("raise");
  const auto absent = at.find("absent");
  if (raise.has_value() == absent.has_value()) {
    at.fail(R"(a fault needs either "raise" or "absent")");
  }
  if (absent) {
    if (!absent->boolean()) absent->fail("expected true");
    return Fault::Kind::Absent;
  }
  if (raise->string() == "platform") return Fault::Kind::PlatformException;
  if (raise->string() == "other") return Fault::Kind::OtherException;
  raise->fail(R"(expected "platform" or "other")");
}

Fault readFault(const JsonCursor& at) {
  at.object({"operation", "call", "raise", "absent", "text", "where"});
  const auto operation = at.find("operation");
  if (!operation) at.fail(R"(a fault needs an "operation")");
  Fault fault;
  fault.operation = operation->string();
  // Opening the local node, the one node that every rule needs, has a name of its own.
  const bool ofLocalNode = fault.operation == "localNode";
  if (ofLocalNode) fault.operation = "nodeByType";
  if (!isKnownOperation(fault.operation)) operation->fail("unknown operation");
  fault.kind = readKind(at);
  if (const auto call = at.find("call")) {
    fault.call =
        static_cast<std::uint64_t>(call->integer(1, std::numeric_limits<std::int64_t>::max()));
  }
  if (const auto text = at.find("text")) {
    if (fault.kind == Fault::Kind::Absent) text->fail(R"(expected with "raise" only)");
    fault.text = text->nonEmptyString();
  }
  if (const auto where = at.find("where")) fault.where = readWhere(*where);
  if (ofLocalNode && std::exchange(fault.where.node, "local")) {
    at.fail(R"(the fault "localNode" needs no "node")");
  }
  return fault;
}

}  // namespace

std::vector<Fault> readFaults(const JsonCursor& section) {
  std::vector<Fault> faults;
  section.forEachElement([&](const JsonCursor& fault) { faults.push_back(readFault(fault)); });
  return faults;
}

}  // namespace gatehall
