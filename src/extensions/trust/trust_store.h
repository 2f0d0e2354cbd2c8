// TrustStore: a TrustPolicy made ready for use: its keys read and parsed, its revoked IDs
// parsed. Internal; the manager makes one when it is made.
#pragma once

#include "OvxComponent/extensions/trust/trust_policy.h"
#include "extensions/trust/minisign.h"

#include <vector>

namespace OvxComponent::Trust {

class TrustStore {
public:
    // What the policy makes of a package or an install whose signature or files do not
    // hold: nothing while it is off, a warning under Warn, a refusal under Require.
    enum class Untrusted { Ignored, Warned, Refused };

    TrustStore() = default;  // off
    // Fails on a mode that is not one of the three, a key or key file that cannot be read
    // or parsed, two different keys under one key ID, a key ID that is not one, and on
    // Require with no key to trust: the error names the item.
    static OvxUtils::Result<TrustStore> Make(const TrustPolicy& policy);
    // Trusts exactly keys, with nothing revoked: for checking a package by hand.
    explicit TrustStore(std::vector<Minisign::PublicKey> keys, TrustMode mode = TrustMode::Require)
        : m_untrusted(OutcomeOf(mode)), m_keys(std::move(keys)) {}

    // The one question the manager asks of the policy, decided when the store was made.
    Untrusted WhenUntrusted() const { return m_untrusted; }
    // Whether there is anything to check: the policy is Warn or Require.
    bool IsOn() const { return m_untrusted != Untrusted::Ignored; }
    // The mode, keys and revoked IDs as one text: equal for two stores that decide alike.
    std::string Fingerprint() const;
    // The trusted key of this ID, or why none counts (unknown or revoked).
    OvxUtils::Result<const Minisign::PublicKey*> KeyFor(const Minisign::KeyId& id) const;

private:
    // Trusts key, which item of the policy gave; refuses a second key under a trusted ID.
    OvxUtils::Result<void> Add(const Minisign::PublicKey& key, const CString& item);

    static Untrusted OutcomeOf(TrustMode mode) {
        return mode == TrustMode::Require ? Untrusted::Refused
               : mode == TrustMode::Warn  ? Untrusted::Warned
                                          : Untrusted::Ignored;
    }

    Untrusted m_untrusted = Untrusted::Ignored;
    std::vector<Minisign::PublicKey> m_keys;
    std::vector<CString> m_keyItems;  // which item of the policy gave each key
    std::vector<Minisign::KeyId> m_revoked;
};

}  // namespace OvxComponent::Trust
