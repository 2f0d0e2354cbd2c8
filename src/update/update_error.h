// Error texts of the update channel. Whatever a repository sends (role names, target
// paths, versions) is escaped and shortened before it reaches a message.
#pragma once

#include "OvxComponent/platform/result.h"

#include <string>
#include <string_view>

namespace OvxUpdate {

// A name from a repository, escaped for one log line, in double quotes.
std::string Named(std::string_view hostile);

// An error whose text is UTF-8.
inline OvxUtils::Error Refused(const std::string& text) { return OvxUtils::Error{::CString::FromUtf8(text)}; }

// The error's text as UTF-8, to build a longer message on it.
template <class T>
std::string TextOf(const OvxUtils::Result<T>& result) {
    return result.ErrorText().ToUtf8();
}

}  // namespace OvxUpdate
