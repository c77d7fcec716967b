#include "net/tls/certificate.h"

#include "base/text.h"

#include <algorithm>
#include <ctime>
#include <memory>
#include <openssl/x509v3.h>

namespace {

using Certificate = std::unique_ptr<X509, void (*)(X509 *)>;
using Errors = std::vector<int>;

Certificate PeerOf(SSL *session) { return {SSL_get1_peer_certificate(session), X509_free}; }

void FreeErrors(void *, void *errors, CRYPTO_EX_DATA *, int, long, void *) { delete static_cast<Errors *>(errors); }

int ErrorsIndex() {
    static int const index = SSL_get_ex_new_index(0, nullptr, nullptr, nullptr, FreeErrors);
    return index;
}

/// The library's question after each step of the verification. The answer is always to go on: what is wrong is looked
/// at when all of it is known, before anything is sent.
int NoteProblem(int passed, X509_STORE_CTX *context) {
    auto *const session =
        static_cast<SSL *>(X509_STORE_CTX_get_ex_data(context, SSL_get_ex_data_X509_STORE_CTX_idx()));
    auto *const errors = static_cast<Errors *>(SSL_get_ex_data(session, ErrorsIndex()));
    int const error = X509_STORE_CTX_get_error(context);
    if (!passed && errors && std::find(errors->begin(), errors->end(), error) == errors->end())
        errors->push_back(error);
    return 1;
}

/// A name out of a certificate, for the user: without anything that could act on a terminal or turn text round.
std::string Shown(std::string_view name) {
    std::string shown;
    for (char const byte : name.substr(0, 100))
        shown += static_cast<signed char>(byte) >= ' ' && byte != 0x7f ? byte : '?';
    return shown;
}

std::string CommonName(X509_NAME const *name) {
    int const at = X509_NAME_get_index_by_NID(const_cast<X509_NAME *>(name), NID_commonName, -1);
    if (at < 0)
        return {};
    unsigned char *text = nullptr;
    int const length = ASN1_STRING_to_UTF8(&text, X509_NAME_ENTRY_get_data(X509_NAME_get_entry(name, at)));
    std::string const result = length > 0 ? Shown({reinterpret_cast<char *>(text), static_cast<size_t>(length)}) : "";
    OPENSSL_free(text);
    return result;
}

/// The first names that the certificate is for.
std::string NamesOf(X509 *certificate) {
    std::string names;
    auto *const list =
        static_cast<GENERAL_NAMES *>(X509_get_ext_d2i(certificate, NID_subject_alt_name, nullptr, nullptr));
    for (int i = 0, taken = 0; i < sk_GENERAL_NAME_num(list) && taken < 3; i++) {
        GENERAL_NAME const *const name = sk_GENERAL_NAME_value(list, i);
        if (name->type != GEN_DNS)
            continue;
        ASN1_STRING const *const text = name->d.dNSName;
        names += (taken++ ? ", " : "") + Shown({reinterpret_cast<char const *>(ASN1_STRING_get0_data(text)),
                                                static_cast<size_t>(ASN1_STRING_length(text))});
    }
    GENERAL_NAMES_free(list);
    return names.empty() ? CommonName(X509_get_subject_name(certificate)) : names;
}

std::string DayOf(ASN1_TIME const *time) {
    tm when{};
    char text[64];
    if (ASN1_TIME_to_tm(time, &when) != 1 || strftime(text, sizeof text, "%-d %B %Y", &when) == 0)
        return "an unknown day";
    return text;
}

std::string SentenceFor(int error, X509 *certificate, std::string const &host) {
    switch (error) {
    case X509_V_ERR_CERT_HAS_EXPIRED:
        return "The certificate expired on " + DayOf(X509_get0_notAfter(certificate)) + ".";
    case X509_V_ERR_CERT_NOT_YET_VALID:
        return "The certificate is not valid before " + DayOf(X509_get0_notBefore(certificate)) + ".";
    case X509_V_ERR_HOSTNAME_MISMATCH:
    case X509_V_ERR_IP_ADDRESS_MISMATCH:
        return "The certificate is for another name (" + NamesOf(certificate) + "), not for " + host + ".";
    case X509_V_ERR_DEPTH_ZERO_SELF_SIGNED_CERT:
        return "The certificate is signed by itself, no authority vouches for it.";
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT:
    case X509_V_ERR_UNABLE_TO_GET_ISSUER_CERT_LOCALLY:
    case X509_V_ERR_UNABLE_TO_VERIFY_LEAF_SIGNATURE:
    case X509_V_ERR_SELF_SIGNED_CERT_IN_CHAIN:
        return "The issuer of the certificate is unknown (" + CommonName(X509_get_issuer_name(certificate)) + ").";
    default:
        return std::string("The certificate does not pass: ") + X509_verify_cert_error_string(error) + ".";
    }
}

} // namespace

void RecordProblems(SSL *session) {
    auto errors = std::make_unique<Errors>();
    if (SSL_set_ex_data(session, ErrorsIndex(), errors.get()) == 1)
        static_cast<void>(errors.release()); // goes with the session
    SSL_set_verify(session, SSL_VERIFY_PEER, NoteProblem);
}

std::vector<std::string> ReasonsAgainst(SSL *session, std::string const &host) {
    Certificate const certificate = PeerOf(session);
    if (!certificate)
        return {"The server has no certificate."};
    auto const *const noted = static_cast<Errors const *>(SSL_get_ex_data(session, ErrorsIndex()));
    Errors errors = noted ? *noted : Errors{X509_V_ERR_UNSPECIFIED};
    // A resumed session was verified when it was new; its result came with it.
    if (long const result = SSL_get_verify_result(session); errors.empty() && result != X509_V_OK)
        errors.push_back(static_cast<int>(result));
    std::vector<std::string> sentences;
    for (int const error : errors) {
        std::string sentence = SentenceFor(error, certificate.get(), host);
        if (std::find(sentences.begin(), sentences.end(), sentence) == sentences.end())
            sentences.push_back(std::move(sentence));
    }
    return sentences;
}

std::string FingerprintOf(SSL *session) {
    Certificate const certificate = PeerOf(session);
    unsigned char bytes[EVP_MAX_MD_SIZE];
    unsigned size = 0;
    if (!certificate || X509_digest(certificate.get(), EVP_sha256(), bytes, &size) != 1)
        return {};
    std::string text;
    for (unsigned i = 0; i < size; i++) {
        text += (i ? ":" : "") + HexByte(static_cast<char>(bytes[i]));
    }
    return text;
}
