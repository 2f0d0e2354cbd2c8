// The signature checks that libsodium does not offer, from the system's cryptography:
// OpenSSL on Linux, CNG on Windows. A bad signature is false; a key or signature that
// cannot be read at all is an error.
#pragma once

#include "OvxComponent/platform/result.h"

#include <string_view>

namespace OvxUpdate::KeyBackend {

using OvxUtils::Result;

// RSASSA-PSS with SHA-256 and MGF1-SHA-256, any salt length; publicKeyPem is a PEM
// "PUBLIC KEY" (SubjectPublicKeyInfo); signature is the raw signature bytes.
Result<bool> VerifyRsaPssSha256(std::string_view publicKeyPem, std::string_view message,
                                std::string_view signature);

// ECDSA on P-256 with SHA-256; publicKey is a PEM "PUBLIC KEY" or the uncompressed point
// (65 bytes, 0x04 first); signature is DER (SEQUENCE of r and s).
Result<bool> VerifyEcdsaP256Sha256(std::string_view publicKey, std::string_view message,
                                   std::string_view derSignature);

}  // namespace OvxUpdate::KeyBackend
