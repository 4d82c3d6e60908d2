#include "ctl/print/NetworkText.h"
#include "ctl/verbs/Verbs.h"
#include "gatehall/access/NetworkStatus.h"
#include "gatehall/directory/SubnodeCounts.h"

namespace gatehall::ctl {

namespace {

Answer run(const Host&, const Request&) {
  const auto status = NetworkStatus::sharedNetworkStatus();
  SubnodeCounts counts;
  subnodeCounts(&counts);

  const auto networkStatus = status->networkStatus();
  Answer answer;
  answer.json["networkStatus"] = networkStatus;
  answer.json["hasParentNetwork"] = status->hasParentNetwork();
  answer.json["parentNetworkExists"] = status->parentNetworkExists();
  answer.json["total"] = counts.total;
  answer.json["reachable"] = counts.reachable;
  answer.tables = {{
      .fits = {Fit::Whole, Fit::Wrap},
      .rows = {{{"network status"}, {networkStatusText(networkStatus)}},
               {{"belongs to a network"}, {cellText(answer.json["hasParentNetwork"])}},
               {{"network answers"}, {cellText(answer.json["parentNetworkExists"])}},
               {{"nodes covered"}, {cellText(answer.json["total"])}},
               {{"nodes reachable"}, {cellText(answer.json["reachable"])}}},
  }};
  return answer;
}

}  // namespace

Verb networkVerb() {
  return {
      .name = "network",
      .summary = "Whether the network directories can be reached",
      .description =
          R"(Shows whether this machine belongs to a network directory and whether that answers, from
the nodes that the search node covers: with two or fewer there is no network directory. The
network status is 2 when all nodes answer or there is no network directory, 1 when some
don't, and 0 when two or fewer answer.)",
      .example = "--world examples/lab.world.json network",
      .run = run,
  };
}

}  // namespace gatehall::ctl
