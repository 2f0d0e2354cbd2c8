// The calling thread's last failure text, and the running release's version text.
#include "c_interface/last_error.h"

#include "OvxComponent/version.h"

namespace OvxComponent::CInterface {
namespace {
thread_local std::string lastError;
}  // namespace

ovx_status Fail(ovx_status status, std::string text) {
    lastError = std::move(text);
    return status;
}

void ClearLastError() { lastError.clear(); }

}  // namespace OvxComponent::CInterface

extern "C" {

const char* ovx_last_error(void) { return OvxComponent::CInterface::lastError.c_str(); }

const char* ovx_version(void) { return OVX_COMPONENT_VERSION_STRING; }

}  // extern "C"
