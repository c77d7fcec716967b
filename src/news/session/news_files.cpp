#include "news/session/news_files.h"

#include "base/account.h"
#include "base/paths.h"

std::string NewsDirectory(std::string_view profile) { return ConfigRoot() + "news/" + std::string(profile) + "/"; }

std::string ListingPath(std::string_view profile) { return NewsDirectory(profile) + "listing"; }

std::string GroupsDirectory(std::string_view profile) { return NewsDirectory(profile) + "groups/"; }

std::string NumberListPath(std::string_view profile, std::string_view group) {
    if (!IsGroupName(group))
        return {};
    std::string path = NewsDirectory(profile) + "list_" + std::string(group);
    path.erase(path.find_last_not_of(' ') + 1);
    return path;
}

std::string SpoolPath(std::string_view profile) { return NewsDirectory(profile) + "tmp"; }
