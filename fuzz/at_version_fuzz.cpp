// Replies through at_version, which keeps its first good answer for good. Its source is part of
// this target, so that the answer can be forgotten before each reply. at_member.h tells the form of
// the input.
// libFuzzer: -max_len=1600 -dict=fuzz/at.dict
#include "ats/atapi/at_exchange.cpp"
#include "ats/atapi/at_k7_version.cpp"
#include "base/text.cpp"

#include "at_member.h"

namespace {

void version() {
    auto first = std::make_unique<at_version_reply>();
    auto second = std::make_unique<at_version_reply>();
    flag_version = false;
    bool found = at_version(first.get()) == 0;
    hearth::fuzz::require(flag_version == found);
    if (flag_version) {
        // From the first success on nothing is sent.
        hearth::fuzz::require(at_version(second.get()) == 0);
        hearth::fuzz::require(strcmp(first->extd, second->extd) == 0);
    }
}

constexpr hearth::fuzz::AtMember kMembers[] = {version, hearth::fuzz::call<at_QryPhynum>};

}  // namespace

std::span<const hearth::fuzz::AtMember> hearth::fuzz::members() {
    return kMembers;
}
