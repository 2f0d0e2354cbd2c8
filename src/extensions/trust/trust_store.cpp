// TrustStore: parsing a host's trust policy.
#include "extensions/trust/trust_store.h"

#include "platform/system_io/file.h"

#include <algorithm>

namespace OvxComponent::Trust {

using OvxUtils::Error;

OvxUtils::Result<TrustStore> TrustStore::Make(const TrustPolicy& policy) {
    TrustStore store;
    store.m_mode = policy.mode;
    if (policy.mode == TrustMode::Off) return store;
    if (!Minisign::StartSodium()) return Error{u"the trust policy cannot be used: libsodium does not start"};
    for (std::size_t i = 0; i < policy.trustedKeys.size(); ++i) {
        auto key = Minisign::ParsePublicKey(policy.trustedKeys[i]);
        if (!key) return Error{u"trusted key " + OvxUtils::DecimalText(i + 1) + u": " + key.ErrorText()};
        store.m_keys.push_back(*key);
    }
    for (const CString& file : policy.trustedKeyFiles) {
        auto text = OvxUtils::SystemIO::File::ReadAllBytes(file);
        if (!text) return Error{u"trusted key file: " + text.ErrorText(), text.SystemCode()};
        auto key = Minisign::ParsePublicKey(*text);
        if (!key) return Error{u"trusted key file " + file + u": " + key.ErrorText()};
        store.m_keys.push_back(*key);
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
