#pragma once
// The page that the message view shows when no message is open.

#include <string>

/// The directory of the home page, with a slash at its end: /usr/share/Corvanta/, or, where that has no page (a
/// program that was not installed, or elsewhere), the share directory nearest above the program's own place.
std::string const &HomePageDirectory();

/// The home page's address.
std::string HomePageUrl();

/// Points the message view at the home page. Under the library lock.
void ShowHomePage();
