// CheckRequirements and the evaluation behind it.
#include "OvxComponent/extensions/format/check_requirements.h"

#include "OvxComponent/extensions/format/runtime_bits.h"
#include "extensions/format/system_version.h"
#include "platform/component_version.h"

#include <algorithm>

namespace OvxComponent {
namespace {

template <class T, class Predicate>
bool AnyMet(const std::vector<T>& candidates, const Predicate& check) {
    if (!check) return false;
    return std::any_of(candidates.begin(), candidates.end(), [&](const T& candidate) { return check(candidate); });
}

template <class T>
CString OneOf(const std::vector<T>& items) {
    CString list;
    for (const T& item : items) {
        if (!list.IsEmpty()) list += u',';
        if constexpr (std::is_same_v<T, CString>) {
            list += item;
        } else {
            list += ToString(item);
        }
    }
    return u"requires one of " + (list.IsEmpty() ? CString(u"(none)") : list);
}

// The running system's version without trailing zero components past major.minor.
CString SystemVersionText() {
    std::vector<std::int32_t> components = GetRunningSystemVersion().Components();
    while (components.size() > 2 && components.back() == 0) components.pop_back();
    return OvxUtils::Version(components).ToString();
}

std::optional<UnmetRequirement> UnmetWindowsVersion(const OvxUtils::VersionRange& range) {
    const auto unmet = [](const CString& required) {
        return UnmetRequirement{u"Windows version", required, u"this system is " + SystemVersionText()};
    };
    if (range.min && !RunningSystemPasses(*range.min, SystemVersionTest::AtOrAfter)) {
        return unmet(u"requires at or after " + range.min->ToString());
    }
    if (range.max && !RunningSystemPasses(*range.max, SystemVersionTest::Before)) {
        return unmet(u"requires before " + range.max->ToString());
    }
    return std::nullopt;
}

std::optional<UnmetRequirement> UnmetSuiteVersion(const OvxUtils::VersionRange& range) {
    const OvxUtils::Version running = GetComponentVersion();
    const auto unmet = [&](const CString& required) {
        return UnmetRequirement{u"suite version", required, u"this host is " + running.ToString()};
    };
    if (range.min && OvxUtils::Version::Compare(running, *range.min) < 0) {
        return unmet(u"requires at or after " + range.min->ToString());
    }
    if (range.max && OvxUtils::Version::Compare(*range.max, running) <= 0) {
        return unmet(u"requires before " + range.max->ToString());
    }
    return std::nullopt;
}

}  // namespace

CString UnmetRequirement::Text(const CString& hostSide) const {
    return what + u": " + required + u", " + (actual.IsEmpty() ? hostSide : actual);
}

std::optional<UnmetRequirement> FirstUnmetRequirement(const ExtensionRequirements& requirements,
                                                      OvxUtils::Delegate<bool(CString)> featureCheck,
                                                      OvxUtils::Delegate<bool(ExtensionAppSupport)> appCheck) {
    if (auto unmet = UnmetWindowsVersion(requirements.WinVersion)) return unmet;
    const auto& platforms = requirements.PlatformSupport;
    if (std::find(platforms.begin(), platforms.end(), kRunningPlatform) == platforms.end()) {
        return UnmetRequirement{u"platform", OneOf(platforms), u"this host is " + ToString(kRunningPlatform)};
    }
    if (!AnyMet(requirements.AppList, appCheck)) return UnmetRequirement{u"application", OneOf(requirements.AppList), {}};
    if (auto unmet = UnmetSuiteVersion(requirements.AppVersion)) return unmet;
    for (const std::vector<CString>& group : requirements.Features) {
        if (!AnyMet(group, featureCheck)) return UnmetRequirement{u"feature", OneOf(group), {}};
    }
    return std::nullopt;
}

bool CheckRequirements(const ExtensionRequirements& requirements, OvxUtils::Delegate<bool(CString)> featureCheck,
                       OvxUtils::Delegate<bool(ExtensionAppSupport)> appCheck) {
    return !FirstUnmetRequirement(requirements, std::move(featureCheck), std::move(appCheck));
}

}  // namespace OvxComponent
