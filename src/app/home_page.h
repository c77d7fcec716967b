#pragma once
// The page that the message view shows when no message is open.

#include <string>

/// The directory of the home page, with a slash at its end: the share directory nearest above the program's own
/// place, which is /usr/share/Corvanta/ for /usr/bin/corvanta and the build tree's for a program that runs from
/// there; without a page in any, /usr/share/Corvanta/.
std::string const &HomePageDirectory();

/// The home page's address.
std::string HomePageUrl();

/// Points the message view at a page; one that it shows already is loaded again. Under the library lock.
void ShowPage(std::string const &url);

/// Points the message view at the home page. Under the library lock.
void ShowHomePage();

/// The same, unless it shows the home page already: a folder that is opened then waits for no page. Under the library
/// lock.
void ReturnToHomePage();
