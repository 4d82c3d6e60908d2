#pragma once

#include <cstdio>
#include <optional>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace gatehall::bench {

/// What was measured in each of some runs, ours and the peer's in turns.
template <class Sample>
struct Turns {
  std::vector<Sample> ours;
  std::vector<Sample> theirs;
};

/// Takes that many samples of each, in turns; the first turn, which reads files from the disk, is
/// left out.
template <class Ours, class Theirs>
auto inTurns(int runs, Ours ours, Theirs theirs) {
  Turns<std::invoke_result_t<Ours&>> taken;
  ours();
  theirs();
  for (int run = 0; run < runs; ++run) {
    taken.ours.push_back(ours());
    taken.theirs.push_back(theirs());
  }
  return taken;
}

/// Takes that many samples, and one before, which is left out.
template <class Work>
std::vector<double> samples(int runs, Work work) {
  std::vector<double> taken;
  work();
  for (int run = 0; run < runs; ++run) taken.push_back(work());
  return taken;
}

/// One figure of the table that scripts/bench draws.
struct Figure {
  std::string name;                 ///< unlike any other benchmark's
  std::string unit;                 ///< of the samples
  std::vector<double> ours;         ///< a sample a run, at least five; or one, if it doesn't vary
  std::vector<double> theirs = {};  ///< in the same runs; without them ours is the figure
  std::string peer = {};            ///< whose theirs are
  std::optional<double> aim = {};   ///< highest ratio of ours to theirs, or highest value of ours
  std::string curve = {};           ///< the panel of the picture in which it is a point,
  int accounts = 0;                 ///< at that many accounts
};

/// Prints the figure as one line of JSON, which scripts/bench reads. No text has to be escaped.
inline void report(const Figure& figure) {
  const auto print = [](const char* key, const std::vector<double>& numbers) {
    std::printf(", \"%s\": [", key);
    const char* separator = "";
    for (const double number : numbers) {
      std::printf("%s%.6g", separator, number);
      separator = ", ";
    }
    std::printf("]");
  };
  std::printf("{\"figure\": \"%s\", \"unit\": \"%s\"", figure.name.c_str(), figure.unit.c_str());
  print("ours", figure.ours);
  if (!figure.theirs.empty()) {
    print("theirs", figure.theirs);
    std::printf(", \"peer\": \"%s\"", figure.peer.c_str());
  }
  if (figure.aim) std::printf(", \"aim\": %g", *figure.aim);
  if (!figure.curve.empty()) {
    std::printf(", \"curve\": \"%s\", \"accounts\": %d", figure.curve.c_str(), figure.accounts);
  }
  std::printf("}\n");
  std::fflush(stdout);
}

}  // namespace gatehall::bench
