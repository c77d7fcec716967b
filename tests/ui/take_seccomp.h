#pragma once
// A system without seccomp, made with seccomp: the calls that ask for it answer as a kernel built without it would.

#include <cerrno>
#include <seccomp.h>
#include <sys/prctl.h>

/// Takes seccomp away from this process and all that it starts, for good.
inline bool TakeSeccompAway() {
    scmp_filter_ctx const list = seccomp_init(SCMP_ACT_ALLOW);
    uint32_t const refused = SCMP_ACT_ERRNO(EINVAL);
    bool const taken =
        list && seccomp_rule_add(list, refused, SCMP_SYS(seccomp), 0) == 0 &&
        seccomp_rule_add(list, refused, SCMP_SYS(prctl), 1, SCMP_A0(SCMP_CMP_EQ, PR_SET_SECCOMP)) == 0 &&
        seccomp_load(list) == 0;
    seccomp_release(list);
    return taken;
}
