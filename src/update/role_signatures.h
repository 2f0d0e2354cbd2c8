// Whether a threshold of a role's keys signed a document. Only distinct keys of the role
// count, each once, and only with a signature that holds; a key of a kind this client
// cannot check counts as not signing, so that a repository may add such keys beside ones
// it can.
#pragma once

#include "update/metadata.h"

#include <string_view>

namespace OvxUpdate {

// Whether signatureHex, in the key's scheme, signs message.
bool SignatureHolds(const PublicKey& key, std::string_view message, std::string_view signatureHex);

// Succeeds when at least role.threshold distinct keys of role, found in keys, signed the
// document; otherwise the error says how many did, of how many needed, for roleName.
Result<void> CheckThreshold(const SignedDocument& document, const KeyMap& keys, const RoleKeys& role,
                            std::string_view roleName);

}  // namespace OvxUpdate
