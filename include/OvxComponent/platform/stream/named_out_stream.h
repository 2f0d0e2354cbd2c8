/// \file
/// NamedOutStream: an output stream together with what to call it in messages.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/cstring.h"
#include "OvxComponent/platform/stream/stream.h"

#include <memory>
#include <optional>

namespace OvxUtils {

/// An output stream with a name, which log lines and reports show.
struct NamedOutStream {
    CString name;                 ///< shown to the user
    std::optional<CString> path;  ///< the file behind the stream, when there is one
    /// The stream.
    std::shared_ptr<Stream> stream;
};

}  // namespace OvxUtils
