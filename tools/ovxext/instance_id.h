// DeriveInstanceID: the InstanceID of a reproducible package, made from the document ID
// and the version so that packing the same input twice gives the same bytes.
#pragma once

#include "OvxComponent/platform/guid.h"
#include "OvxComponent/platform/version.h"

namespace Ovxext {

// A name-based identifier (RFC 9562 version 8 layout) from two FNV-1a hashes of the
// document ID and the version text. Never all zero.
OvxUtils::Guid DeriveInstanceID(const OvxUtils::Guid& documentID, const OvxUtils::Version& version);

}  // namespace Ovxext
