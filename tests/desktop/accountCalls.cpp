// Asks a service of PAM about an account, time and again in one process, and says what each call of
// pam_acct_mgmt(3) took: a line of nanoseconds for each.
//
// usage: account-calls SERVICE USER COUNT

#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <security/pam_appl.h>

namespace {

long long now() {
  timespec time{};
  clock_gettime(CLOCK_MONOTONIC, &time);
  return time.tv_sec * 1'000'000'000LL + time.tv_nsec;
}

/// Nobody sits here.
int converse(int /*count*/, const pam_message** /*messages*/, pam_response** /*responses*/,
             void* /*data*/) {
  return PAM_CONV_ERR;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 4) return 2;
  const pam_conv conversation{converse, nullptr};
  pam_handle_t* handle = nullptr;
  if (pam_start(argv[1], argv[2], &conversation, &handle) != PAM_SUCCESS) return 1;
  int status = PAM_SUCCESS;
  for (auto count = std::strtol(argv[3], nullptr, 10); count > 0; --count) {
    const auto start = now();
    status = pam_acct_mgmt(handle, PAM_SILENT);
    const auto taken = now() - start;
    if (status != PAM_SUCCESS) {
      std::fprintf(stderr, "account-calls: %s\n", pam_strerror(handle, status));
      break;
    }
    std::printf("%lld\n", taken);
  }
  pam_end(handle, status);
  return status == PAM_SUCCESS ? 0 : 1;
}
