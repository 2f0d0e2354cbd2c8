#include "update/update_error.h"

#include "platform/display_text.h"

namespace OvxUpdate {

std::string Named(std::string_view hostile) {
    constexpr std::size_t kLongest = 120;
    std::string shown = OvxUtils::DisplayText::Escaped(hostile.substr(0, kLongest));
    if (hostile.size() > kLongest) shown += "...";
    return '"' + shown + '"';
}

}  // namespace OvxUpdate
