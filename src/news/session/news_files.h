#pragma once
// The files of a news profile, all below ConfigRoot/news/<profile>/. docs/formats.md has them byte by byte.

#include <string>
#include <string_view>

/// ConfigRoot/news/<profile>/ with the slash. Without a password entry the home is taken as empty.
std::string NewsDirectory(std::string_view profile);

/// The server's group list, "listing".
std::string ListingPath(std::string_view profile);

/// The directory of subscriptions, "groups/" with the slash: one empty file for each group.
std::string GroupsDirectory(std::string_view profile);

/// The numbers of a group's articles, "list_<group>", the path without trailing blanks. Empty when the group's name
/// may not become part of a path (IsGroupName).
std::string NumberListPath(std::string_view profile, std::string_view group);

/// The article that is being fetched, "tmp".
std::string SpoolPath(std::string_view profile);
