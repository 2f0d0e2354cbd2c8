/// \file
/// The container library reports its failures with the component's one result type.
#pragma once

#include "OvxComponent/platform/cxx_standard.h"

#include "OvxComponent/platform/result.h"

namespace VdcContainer {

using OvxUtils::DecimalText;
using OvxUtils::Error;
using OvxUtils::Quoted;
using OvxUtils::Result;
using OvxUtils::SystemError;

}  // namespace VdcContainer
