#include "extensions/format/check_requirements.h"

#include "extensions/format/system_version.h"
#include "platform/component_version.h"

#include <algorithm>

namespace OvxComponent {
namespace {

bool WindowsVersionMet(const OvxUtils::VersionRange& range) {
    if (range.min && !RunningSystemPasses(*range.min, SystemVersionTest::AtOrAfter)) return false;
    if (range.max && !RunningSystemPasses(*range.max, SystemVersionTest::Before)) return false;
    return true;
}

bool SuiteVersionMet(const OvxUtils::VersionRange& range) {
    const OvxUtils::Version running = GetComponentVersion();
    if (range.min && OvxUtils::Version::Compare(running, *range.min) < 0) return false;
    if (range.max && OvxUtils::Version::Compare(*range.max, running) <= 0) return false;
    return true;
}

template <class T, class Predicate>
bool AnyMet(const std::vector<T>& candidates, const Predicate& check) {
    if (!check) return false;
    return std::any_of(candidates.begin(), candidates.end(), [&](const T& candidate) { return check(candidate); });
}

}  // namespace

bool CheckRequirements(const ExtensionRequirements& requirements, OvxUtils::Delegate<bool(CString)> featureCheck,
                       OvxUtils::Delegate<bool(ExtensionAppSupport)> appCheck) {
    if (!WindowsVersionMet(requirements.WinVersion)) return false;
    const auto& platforms = requirements.PlatformSupport;
    if (std::find(platforms.begin(), platforms.end(), kRunningPlatform) == platforms.end()) return false;
    if (!AnyMet(requirements.AppList, appCheck)) return false;
    if (!SuiteVersionMet(requirements.AppVersion)) return false;
    for (const std::vector<CString>& group : requirements.Features) {
        if (!AnyMet(group, featureCheck)) return false;
    }
    return true;
}

}  // namespace OvxComponent
