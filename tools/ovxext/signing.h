// What ovxext's signing commands share: key files, the password of a secret key, signing
// with a check of the result, and the signer line of info and check.
#pragma once

#include "command_context.h"
#include "json_output.h"

#include "OvxComponent/extensions/format/extension_container.h"
#include "extensions/trust/package_signing.h"
#include "extensions/trust/wiped_memory.h"

#include <string>
#include <vector>

namespace Ovxext {

// The environment variable that gives the password of a secret key where no terminal can.
inline constexpr const char* kPasswordVariable = "OVXEXT_KEY_PASSWORD";

// A password for path: asked on the terminal (twice when confirm), or else taken from
// OVXEXT_KEY_PASSWORD. A terminal whose echo cannot be turned off gives an error that
// says so, unless the variable is set.
OvxUtils::Result<OvxComponent::Minisign::SecretString> KeyPassword(const std::string& path, bool confirm);
// Reads the secret key file at path, asking for its password when it is encrypted.
OvxUtils::Result<OvxComponent::Minisign::SecretKey> ReadSecretKey(const std::string& path);

// The time a signature made now carries: SOURCE_DATE_EPOCH when set (reproducible
// builds), else the fixed time of reproducible packages when reproducible, else now.
std::uint64_t SigningTime(bool reproducible);

// Signs source into target (Trust::SignPackage), then checks target (CheckSigned).
OvxUtils::Result<OvxComponent::Trust::Signer> SignAndCheck(const CString& source, const CString& target,
                                                           const OvxComponent::Minisign::SecretKey& key,
                                                           bool reproducible);
// Reads a package just signed back and checks its signature and names as a host opening
// it would, under key's public half. Its entries' bytes were hashed as they were written.
OvxUtils::Result<OvxComponent::Trust::Signer> CheckSigned(const CString& path,
                                                          const OvxComponent::Minisign::SecretKey& key);

// The signer an open package's signature claims, as JSON: null when unsigned.
Json SignerJson(const OvxComponent::ExtensionContainer& package);

}  // namespace Ovxext
