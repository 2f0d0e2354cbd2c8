// TrustStore: parsing a host's trust policy.
#include "extensions/trust/trust_store.h"

#include "platform/system_io/file.h"

#include <sodium.h>

#include <algorithm>

namespace OvxComponent::Trust {

using OvxUtils::Error;

OvxUtils::Result<TrustStore> TrustStore::Make(const TrustPolicy& policy) {
    TrustStore store;
    if (policy.mode != TrustMode::Off && policy.mode != TrustMode::Warn && policy.mode != TrustMode::Require) {
        return Error{u"the trust policy's mode " + OvxUtils::DecimalText(static_cast<int>(policy.mode)) +
                     u" is not Off, Warn or Require"};
    }
    store.m_untrusted = OutcomeOf(policy.mode);
    if (policy.mode == TrustMode::Off) return store;
    if (!Minisign::StartSodium()) return Error{u"the trust policy cannot be used: libsodium does not start"};
    for (std::size_t i = 0; i < policy.trustedKeys.size(); ++i) {
        const CString item = u"trusted key " + OvxUtils::DecimalText(i + 1);
        auto key = Minisign::ParsePublicKey(policy.trustedKeys[i]);
        if (!key) return Error{item + u": " + key.ErrorText()};
        if (auto added = store.Add(*key, item); !added) return added.TakeError();
    }
    for (const CString& file : policy.trustedKeyFiles) {
        auto text = OvxUtils::SystemIO::File::ReadAllBytes(file);
        if (!text) return Error{u"trusted key file: " + text.ErrorText(), text.SystemCode()};
        const CString item = u"trusted key file " + file;
        auto key = Minisign::ParsePublicKey(*text);
        if (!key) return Error{item + u": " + key.ErrorText()};
        if (auto added = store.Add(*key, item); !added) return added.TakeError();
    }
    for (const std::string& text : policy.revokedKeyIds) {
        auto id = Minisign::ParseKeyIdText(text);
        if (!id) return Error{u"revoked key ID: " + id.ErrorText()};
        store.m_revoked.push_back(*id);
    }
    if (policy.mode == TrustMode::Require && store.m_keys.empty()) {
        return Error{u"the trust policy requires signatures but trusts no key"};
    }
    return store;
}

std::string TrustStore::Fingerprint() const {
    std::vector<std::string> keys;
    for (const Minisign::PublicKey& key : m_keys) keys.push_back(Minisign::PublicKeyBase64(key));
    std::vector<std::string> revoked;
    for (const Minisign::KeyId& id : m_revoked) revoked.push_back(Minisign::KeyIdText(id));
    std::sort(keys.begin(), keys.end());
    std::sort(revoked.begin(), revoked.end());
    std::string text = std::to_string(static_cast<int>(m_untrusted));
    for (const std::string& key : keys) text += " key:" + key;
    for (const std::string& id : revoked) text += " revoked:" + id;
    return text;
}

OvxUtils::Result<void> TrustStore::Add(const Minisign::PublicKey& key, const CString& item) {
    const auto same = std::find_if(m_keys.begin(), m_keys.end(), [&](const auto& trusted) { return trusted.id == key.id; });
    if (same == m_keys.end()) {
        m_keys.push_back(key);
        m_keyItems.push_back(item);
        return {};
    }
    // The same key given twice is harmless. Two keys under one ID are not: the ID is chosen
    // by whoever made the key, so a second key could claim a trusted key's ID, and which of
    // the two a signature names could not be told.
    if (sodium_memcmp(same->key.data(), key.key.data(), key.key.size()) == 0) return {};
    return Error{item + u" has the key ID " + CString::FromUtf8(Minisign::KeyIdText(key.id)) + u" of " +
                 m_keyItems[static_cast<std::size_t>(same - m_keys.begin())] +
                 u", but is another key: key IDs of trusted keys must differ"};
}

OvxUtils::Result<const Minisign::PublicKey*> TrustStore::KeyFor(const Minisign::KeyId& id) const {
    const CString idText = CString::FromUtf8(Minisign::KeyIdText(id));
    if (std::find(m_revoked.begin(), m_revoked.end(), id) != m_revoked.end()) {
        return Error{u"the signing key " + idText + u" is revoked"};
    }
    const auto key = std::find_if(m_keys.begin(), m_keys.end(), [&](const auto& trusted) { return trusted.id == id; });
    if (key == m_keys.end()) return Error{u"the signing key " + idText + u" is not trusted"};
    return &*key;
}

}  // namespace OvxComponent::Trust
