#include "desktop/keyring.h"

#include <condition_variable>
#include <libsecret/secret.h>
#include <mutex>
#include <thread>

namespace {

constexpr auto kLongest = std::chrono::minutes(2);

SecretSchema const kSchema = {"corvanta.Password",
                              SECRET_SCHEMA_NONE,
                              {{"account", SECRET_SCHEMA_ATTRIBUTE_STRING},
                               {"kind", SECRET_SCHEMA_ATTRIBUTE_STRING},
                               {nullptr, SECRET_SCHEMA_ATTRIBUTE_STRING}},
                              0,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr,
                              nullptr};

/// A call that is given up after kLongest.
class Bounded {
  public:
    Bounded()
        : watch_([this] {
              std::unique_lock lock(mutex_);
              if (!over_.wait_for(lock, kLongest, [this] { return done_; }))
                  g_cancellable_cancel(cancel_);
          }) {}
    ~Bounded() {
        {
            std::lock_guard const lock(mutex_);
            done_ = true;
        }
        over_.notify_all();
        watch_.join();
        g_object_unref(cancel_);
        g_clear_error(&error_);
    }
    Bounded(Bounded const &) = delete;
    Bounded &operator=(Bounded const &) = delete;

    GCancellable *Cancel() const { return cancel_; }
    GError **Error() { return &error_; }

    KeyringEnd End(bool done, std::string &problem) const {
        if (!error_)
            return done ? KeyringEnd::kDone : KeyringEnd::kMissing;
        problem = std::string("The keyring cannot be used: ") + error_->message;
        return KeyringEnd::kUnavailable;
    }

  private:
    GCancellable *cancel_ = g_cancellable_new();
    GError *error_ = nullptr;
    std::mutex mutex_;
    std::condition_variable over_;
    bool done_ = false;
    std::thread watch_;
};

} // namespace

KeyringEnd StoreSecret(KeyringEntry const &entry, std::string const &secret, std::string &problem) {
    Bounded call;
    std::string const label = "Corvanta: " + entry.kind + " account " + entry.account;
    bool const done = secret_password_store_sync(&kSchema, SECRET_COLLECTION_DEFAULT, label.c_str(), secret.c_str(),
                                                 call.Cancel(), call.Error(), "account", entry.account.c_str(),
                                                 "kind", entry.kind.c_str(), nullptr);
    return call.End(done, problem);
}

KeyringEnd FindSecret(KeyringEntry const &entry, std::string &secret, std::string &problem) {
    Bounded call;
    gchar *const found = secret_password_lookup_sync(&kSchema, call.Cancel(), call.Error(), "account",
                                                     entry.account.c_str(), "kind", entry.kind.c_str(), nullptr);
    if (found)
        secret = found;
    bool const done = found != nullptr;
    secret_password_free(found);
    return call.End(done, problem);
}

KeyringEnd ForgetSecret(KeyringEntry const &entry, std::string &problem) {
    Bounded call;
    bool const done = secret_password_clear_sync(&kSchema, call.Cancel(), call.Error(), "account",
                                                 entry.account.c_str(), "kind", entry.kind.c_str(), nullptr);
    return call.End(done, problem);
}
