#pragma once
// Accounts and messages for the journeys.

#include <QStringList>

#include <string>
#include <vector>

/// A whole message of the demo's mailbox, "25-pictures".
std::string DemoMail(std::string const &name);

/// A short message with the subject, from sender@example.org, dated and with a text that names the subject.
std::string PlainMail(std::string const &subject);

/// Makes a profile of alice, or another user with the password "secret", on the POP3 server "host:port" as the
/// accounts dialog would save it, with its three folders.
void MakeProfile(std::string const &server, bool leaveOnServer, int interval = 300, std::string const &name = "home",
                 std::string const &user = "alice");

/// Makes the news profile "usenet" of alice on the server "host:port", with subscriptions.
void MakeNewsProfile(std::string const &server, std::vector<std::string> const &groups = {});

/// Lets alice's profile "home", or another, send through the SMTP server "host:port".
void SendThrough(std::string const &server, std::string const &name = "home");

/// The user's directory, with a slash at its end.
std::string Root();

/// A folder's index: its size, -1 without one.
long IndexSize(std::string const &folder);

/// The subjects in the list of messages.
QStringList Subjects();

/// Waits until no check runs any more.
void WaitForChecks();

/// Opens the Inbox and waits until its check is over.
void OpenInbox();
