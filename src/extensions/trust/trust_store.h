// TrustStore: a TrustPolicy made ready for use: its keys read and parsed, its revoked IDs
// parsed. Internal; the manager makes one when it is made.
#pragma once

#include "OvxComponent/extensions/trust/trust_policy.h"
#include "extensions/trust/minisign.h"

#include <vector>

namespace OvxComponent::Trust {

class TrustStore {
public:
    TrustStore() = default;  // off
    // Fails on a key or key file that cannot be read or parsed, a key ID that is not one,
    // and on Require with no key to trust: the error names the item.
    static OvxUtils::Result<TrustStore> Make(const TrustPolicy& policy);
    // Trusts exactly keys, with nothing revoked: for checking a package by hand.
    explicit TrustStore(std::vector<Minisign::PublicKey> keys, TrustMode mode = TrustMode::Require)
        : m_mode(mode), m_keys(std::move(keys)) {}

    TrustMode Mode() const { return m_mode; }
    // The trusted key of this ID, or why none counts (unknown or revoked).
    OvxUtils::Result<const Minisign::PublicKey*> KeyFor(const Minisign::KeyId& id) const;

private:
    TrustMode m_mode = TrustMode::Off;
    std::vector<Minisign::PublicKey> m_keys;
    std::vector<Minisign::KeyId> m_revoked;
};

}  // namespace OvxComponent::Trust
