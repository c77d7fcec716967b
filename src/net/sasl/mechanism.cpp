#include "net/sasl/mechanism.h"

#include <cstdlib>
#include <gsasl.h>

namespace {

/// What gsasl knows. Its own base64 and memory end here.
class Library {
  public:
    Library() {
        if (gsasl_init(&context_) != GSASL_OK)
            context_ = nullptr;
    }
    static Gsasl *Context() {
        static Library const *const library = new Library; // shared by all threads, which only start sessions
        return library->context_;
    }

  private:
    Gsasl *context_ = nullptr;
};

class LibraryMechanism : public Mechanism {
  public:
    explicit LibraryMechanism(Gsasl_session *session, bool first) : session_(session, gsasl_finish), first_(first) {}

    bool HasInitialResponse() const override { return first_; }

    SaslStep Step(std::string_view challenge, std::string &response) override {
        char *output = nullptr;
        size_t length = 0;
        int const result = gsasl_step(session_.get(), challenge.data(), challenge.size(), &output, &length);
        if (output)
            response.assign(output, length);
        gsasl_free(output);
        return result == GSASL_OK           ? SaslStep::kComplete
               : result == GSASL_NEEDS_MORE ? SaslStep::kMore
                                            : SaslStep::kWrong;
    }

  private:
    std::unique_ptr<Gsasl_session, void (*)(Gsasl_session *)> session_;
    bool first_;
};

/// OAUTHBEARER (RFC 7628) and the older XOAUTH2. After an error the server explains itself once, in JSON, and wants
/// an answer before it refuses.
class TokenMechanism : public Mechanism {
  public:
    TokenMechanism(std::string response, std::string afterError)
        : response_(std::move(response)), afterError_(std::move(afterError)) {}

    bool HasInitialResponse() const override { return true; }

    SaslStep Step(std::string_view, std::string &response) override {
        response = std::exchange(response_, afterError_);
        return SaslStep::kComplete;
    }

  private:
    std::string response_, afterError_;
};

/// A name in a GS2 header (RFC 5801 4).
std::string Gs2Name(std::string_view name) {
    std::string text;
    for (char const byte : name)
        text += byte == ',' ? "=2C" : byte == '=' ? "=3D" : std::string(1, byte);
    return text;
}

std::unique_ptr<Mechanism> NewTokenMechanism(std::string const &name, Credentials const &who,
                                             SaslPlace const &place) {
    std::string const bearer = "auth=Bearer " + who.secret + "\1\1";
    if (name == "XOAUTH2")
        return std::make_unique<TokenMechanism>("user=" + who.user + "\1" + bearer, "");
    return std::make_unique<TokenMechanism>("n,a=" + Gs2Name(who.user) + ",\1host=" + place.host +
                                                "\1port=" + std::to_string(place.port) + "\1" + bearer,
                                            "\1");
}

void SetBindings(Gsasl_session *session, SaslPlace const &place) {
    if (!place.bindingExporter.empty())
        gsasl_property_set(session, GSASL_CB_TLS_EXPORTER, ToBase64(place.bindingExporter).c_str());
    if (!place.bindingUnique.empty())
        gsasl_property_set(session, GSASL_CB_TLS_UNIQUE, ToBase64(place.bindingUnique).c_str());
}

} // namespace

std::unique_ptr<Mechanism> NewMechanism(std::string const &name, Credentials const &credentials,
                                        SaslPlace const &place) {
    if (name == "OAUTHBEARER" || name == "XOAUTH2")
        return NewTokenMechanism(name, credentials, place);
    Gsasl_session *session = nullptr;
    if (!Library::Context() || gsasl_client_start(Library::Context(), name.c_str(), &session) != GSASL_OK)
        return nullptr;
    gsasl_property_set(session, GSASL_AUTHID, credentials.user.c_str());
    gsasl_property_set(session, GSASL_PASSWORD, credentials.secret.c_str());
    gsasl_property_set(session, GSASL_SERVICE, place.service.c_str());
    gsasl_property_set(session, GSASL_HOSTNAME, place.host.c_str());
    // Without -PLUS the library takes no binding (its 2.2 answers with an error), so a server is not told that one
    // could have been had (RFC 5802 6).
    if (name.ends_with("-PLUS"))
        SetBindings(session, place);
    bool const serverFirst = name == "CRAM-MD5" || name == "LOGIN";
    return std::make_unique<LibraryMechanism>(session, !serverFirst);
}

std::string ToBase64(std::string_view bytes) {
    char *text = nullptr;
    if (gsasl_base64_to(bytes.data(), bytes.size(), &text, nullptr) != GSASL_OK)
        return {};
    std::string const result = text;
    gsasl_free(text);
    return result;
}

bool FromBase64(std::string_view text, std::string &bytes) {
    char *decoded = nullptr;
    size_t length = 0;
    bytes.clear();
    if (text.empty())
        return true;
    if (gsasl_base64_from(text.data(), text.size(), &decoded, &length) != GSASL_OK)
        return false;
    bytes.assign(decoded, length);
    gsasl_free(decoded);
    return true;
}
