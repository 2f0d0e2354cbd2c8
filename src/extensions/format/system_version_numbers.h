// SystemVersionNumbers: the four numbers on which a system version bound is tested.
#pragma once

#include "OvxComponent/platform/version.h"

#include <compare>
#include <cstddef>
#include <cstdint>

namespace OvxComponent::Detail {

struct SystemVersionNumbers {
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint16_t servicePackMajor = 0;
    std::uint16_t servicePackMinor = 0;

    static SystemVersionNumbers FromVersion(const OvxUtils::Version& version) {
        const auto& components = version.Components();
        const auto component = [&](std::size_t index) {
            return index < components.size() ? static_cast<std::uint32_t>(components[index]) : 0u;
        };
        return {component(0), component(1), static_cast<std::uint16_t>(component(2)),
                static_cast<std::uint16_t>(component(3))};
    }

    // Member by member in declaration order: the first that differs decides.
    friend auto operator<=>(const SystemVersionNumbers&, const SystemVersionNumbers&) = default;
};

}  // namespace OvxComponent::Detail
