// What ovxext's signing commands share: key files, the password of a secret key, signing
// with a check of the result, and the signer line of info and check.
#pragma once

#include "command_context.h"
#include "json_output.h"

#include "OvxComponent/extensions/format/extension_container.h"
#include "extensions/trust/package_signing.h"

#include <string>
#include <vector>

namespace Ovxext {

// The environment variable that gives the password of a secret key where no terminal can.
inline constexpr const char* kPasswordVariable = "OVXEXT_KEY_PASSWORD";

// A password for path: asked on the terminal (twice when confirm), or else taken from
// OVXEXT_KEY_PASSWORD.
OvxUtils::Result<std::string> KeyPassword(const std::string& path, bool confirm);
// Reads the secret key file at path, asking for its password when it is encrypted.
OvxUtils::Result<OvxComponent::Minisign::SecretKey> ReadSecretKey(const std::string& path);
// Reads the public key files.
OvxUtils::Result<std::vector<OvxComponent::Minisign::PublicKey>> ReadPublicKeys(const std::vector<std::string>& paths);

// Writes a key file under a temporary name and renames it to path; a secret one is
// readable by its owner only from the moment it exists.
OvxUtils::Result<void> WriteKeyFile(const CString& path, const std::string& text, bool secret);

// Signs source into target (Trust::SignPackage), then reads target back and checks its
// signature and every digest as a host would, under key's public half.
OvxUtils::Result<OvxComponent::Trust::Signer> SignAndCheck(const CString& source, const CString& target,
                                                           const OvxComponent::Minisign::SecretKey& key,
                                                           bool reproducible);

// The signer of an open package: "key ID <ID>, trusted comment: <comment>", or "unsigned".
std::string SignerText(const OvxComponent::ExtensionContainer& package);
Json SignerJson(const OvxComponent::ExtensionContainer& package);

}  // namespace Ovxext
