#pragma once
// Desktop notifications (org.freedesktop.Notifications). No desktop, no notification, and no word about it.

#include <functional>
#include <string>

/// What a click on a notification does; called on the main thread, without the library lock. Set once at the start.
void OnNotificationClicked(std::function<void()> raise);

/// Shows a notification, in the place of the one that is still shown. Plain text in UTF-8: markup in it is shown as
/// it stands. Any thread; never waits.
void Notify(std::string const &title, std::string const &text);
