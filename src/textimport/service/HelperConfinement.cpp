#include "textimport/service/HelperConfinement.h"

#include <seccomp.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/resource.h>

#include <cerrno>
#include <memory>

namespace velmora {

namespace {
struct FilterRelease {
  void operator()(void* filter) const { seccomp_release(static_cast<scmp_filter_ctx>(filter)); }
};
}  // namespace

Status HelperConfinement::apply(std::uint64_t memoryLimitMB) {
  ::prctl(PR_SET_PDEATHSIG, SIGKILL);
  rlimit none{0, 0};
  ::setrlimit(RLIMIT_CORE, &none);
  // AddressSanitizer reserves terabytes of address space for its shadow
  // memory, so an address-space limit would stop a sanitizer build's helper
  // at its first allocation; those builds run without it.
#ifndef __SANITIZE_ADDRESS__
  if (memoryLimitMB > 0) {
    rlimit memory{memoryLimitMB << 20, memoryLimitMB << 20};
    if (::setrlimit(RLIMIT_AS, &memory) != 0) return Status::fromErrno(errno, "cannot set the memory limit");
  }
#endif
  std::unique_ptr<void, FilterRelease> filter(seccomp_init(SCMP_ACT_ALLOW));
  if (!filter) return Status::internal("cannot make a seccomp filter");
  auto ctx = static_cast<scmp_filter_ctx>(filter.get());
  // Documents never need a socket; the channels to the client exist already.
  for (int call : {SCMP_SYS(socket), SCMP_SYS(connect), SCMP_SYS(bind), SCMP_SYS(listen), SCMP_SYS(accept),
                   SCMP_SYS(accept4)}) {
    if (seccomp_rule_add(ctx, SCMP_ACT_ERRNO(EACCES), call, 0) != 0)
      return Status::internal("cannot add a seccomp rule");
  }
  if (seccomp_load(ctx) != 0) return Status::internal("cannot load the seccomp filter");
  return Status::success();
}

}  // namespace velmora
