#include "secrets/secret.h"

#include "base/command.h"
#include "desktop/keyring.h"

#include <string_view>

namespace {

KeyringEntry EntryOf(ServerAccount const &account) {
    return {account.name, account.profileKind == kNewsProfile ? "news" : "mail"};
}

} // namespace

Outcome FindSecretOf(ServerAccount const &account, Secret &secret, std::function<bool()> const &stopped) {
    std::string_view const field = account.password;
    for (char const *const prefix : {kFromCommand, kTokenFromCommand})
        if (field.starts_with(prefix)) {
            secret.isToken = prefix == kTokenFromCommand;
            return FirstLineOfCommand(std::string(field.substr(std::string_view(prefix).size())), secret.text,
                                      stopped);
        }
    secret.isToken = false;
    if (field != kInKeyring) {
        secret.text = field;
        return {};
    }
    std::string problem = "The keyring has no password for this account";
    return FindSecret(EntryOf(account), secret.text, problem) == KeyringEnd::kDone ? Outcome() : Failed(problem);
}

Outcome KeepInKeyring(ServerAccount const &account, std::string const &password) {
    std::string problem = "The keyring did not take the password";
    return StoreSecret(EntryOf(account), password, problem) == KeyringEnd::kDone ? Outcome() : Failed(problem);
}
