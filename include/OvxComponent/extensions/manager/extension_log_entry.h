/// \file
/// The log's entries, where hosts built against earlier versions include them from; they
/// live in OvxComponent/extensions/log/extension_log_entry.h.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/extensions/log/extension_log_entry.h"
