#include <climits>
#include <string>
#include <string_view>
#include <thread>

// Commits the defect that it is asked for, so that a sanitizer which no longer looks is noticed.
int main(int argc, char** argv) {
  const std::string_view kind = argc > 1 ? argv[1] : "";
  if (kind == "leak") {
    std::string* volatile lost = new std::string(64, 'x');
    lost = nullptr;
    return lost == nullptr ? 0 : 1;
  } else if (kind == "overflow") {
    volatile int most = INT_MAX;
    most = most + 1;
  } else if (kind == "race") {
    int shared = 0;
    std::thread other([&shared] { ++shared; });
    ++shared;
    other.join();
  }
  return 0;
}
