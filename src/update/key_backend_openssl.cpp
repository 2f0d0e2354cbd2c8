#include "update/key_backend.h"

#include "update/update_error.h"

#include <openssl/bio.h>
#include <openssl/core_names.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/param_build.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <memory>

namespace OvxUpdate::KeyBackend {

namespace {

struct KeyFree {
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
struct ContextFree {
    void operator()(EVP_MD_CTX* context) const { EVP_MD_CTX_free(context); }
};
using KeyHandle = std::unique_ptr<EVP_PKEY, KeyFree>;

Result<KeyHandle> ReadPem(std::string_view pem, int expectedType) {
    std::unique_ptr<BIO, decltype(&BIO_free)> bio(BIO_new_mem_buf(pem.data(), static_cast<int>(pem.size())),
                                                  BIO_free);
    if (!bio) return Refused("out of memory reading a public key");
    KeyHandle key(PEM_read_bio_PUBKEY(bio.get(), nullptr, nullptr, nullptr));
    ERR_clear_error();
    if (!key) return Refused("a public key is not a PEM \"PUBLIC KEY\"");
    if (EVP_PKEY_get_base_id(key.get()) != expectedType)
        return Refused("a public key is not of the kind its scheme names");
    return key;
}

Result<KeyHandle> ReadPoint(std::string_view point) {
    std::unique_ptr<OSSL_PARAM_BLD, decltype(&OSSL_PARAM_BLD_free)> build(OSSL_PARAM_BLD_new(),
                                                                          OSSL_PARAM_BLD_free);
    if (!build ||
        !OSSL_PARAM_BLD_push_utf8_string(build.get(), OSSL_PKEY_PARAM_GROUP_NAME, "prime256v1", 0) ||
        !OSSL_PARAM_BLD_push_octet_string(build.get(), OSSL_PKEY_PARAM_PUB_KEY, point.data(), point.size()))
        return Refused("out of memory reading a public key");
    std::unique_ptr<OSSL_PARAM, decltype(&OSSL_PARAM_free)> params(OSSL_PARAM_BLD_to_param(build.get()),
                                                                   OSSL_PARAM_free);
    std::unique_ptr<EVP_PKEY_CTX, decltype(&EVP_PKEY_CTX_free)> context(
        EVP_PKEY_CTX_new_from_name(nullptr, "EC", nullptr), EVP_PKEY_CTX_free);
    EVP_PKEY* key = nullptr;
    if (!params || !context || EVP_PKEY_fromdata_init(context.get()) <= 0 ||
        EVP_PKEY_fromdata(context.get(), &key, EVP_PKEY_PUBLIC_KEY, params.get()) <= 0) {
        ERR_clear_error();
        return Refused("a public key is not a point on P-256");
    }
    return KeyHandle(key);
}

// saltLength: 0 for no PSS padding (ECDSA), else OpenSSL's RSA_PSS_SALTLEN_* choice.
Result<bool> Verify(EVP_PKEY* key, std::string_view message, std::string_view signature, int saltLength = 0) {
    bool pss = saltLength != 0;
    std::unique_ptr<EVP_MD_CTX, ContextFree> context(EVP_MD_CTX_new());
    EVP_PKEY_CTX* keyContext = nullptr;
    if (!context || EVP_DigestVerifyInit(context.get(), &keyContext, EVP_sha256(), nullptr, key) != 1)
        return Refused("the signature check could not start");
    if (pss && (EVP_PKEY_CTX_set_rsa_padding(keyContext, RSA_PKCS1_PSS_PADDING) != 1 ||
                EVP_PKEY_CTX_set_rsa_pss_saltlen(keyContext, saltLength) != 1 ||
                EVP_PKEY_CTX_set_rsa_mgf1_md(keyContext, EVP_sha256()) != 1))
        return Refused("the signature check could not start");
    bool holds = EVP_DigestVerify(context.get(), reinterpret_cast<const unsigned char*>(signature.data()),
                                  signature.size(), reinterpret_cast<const unsigned char*>(message.data()),
                                  message.size()) == 1;
    ERR_clear_error();  // a signature that does not hold leaves its reasons on the thread's queue
    return holds;
}

}  // namespace

Result<bool> VerifyRsaPssSha256(std::string_view publicKeyPem, std::string_view message,
                                std::string_view signature) {
    auto key = ReadPem(publicKeyPem, EVP_PKEY_RSA);
    if (!key) return key.TakeError();
    // Signers use a salt as long as the digest, or the longest the key allows; the same two
    // are accepted on every platform.
    auto holds = Verify(key->get(), message, signature, RSA_PSS_SALTLEN_DIGEST);
    if (!holds || *holds) return holds;
    return Verify(key->get(), message, signature, RSA_PSS_SALTLEN_MAX);
}

Result<bool> VerifyEcdsaP256Sha256(std::string_view publicKey, std::string_view message,
                                   std::string_view derSignature) {
    bool pem = publicKey.starts_with("-----BEGIN");
    auto key = pem ? ReadPem(publicKey, EVP_PKEY_EC) : ReadPoint(publicKey);
    if (!key) return key.TakeError();
    if (pem) {
        char group[32] = {};
        std::size_t length = 0;
        if (EVP_PKEY_get_utf8_string_param(key->get(), OSSL_PKEY_PARAM_GROUP_NAME, group, sizeof group,
                                           &length) != 1 ||
            std::string_view(group, length) != "prime256v1")
            return Refused("an ECDSA key is not on P-256");
    }
    return Verify(key->get(), message, derSignature);
}

}  // namespace OvxUpdate::KeyBackend
