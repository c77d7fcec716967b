#include "app/home_page.h"

#include "names/widgets.h"
#include "photon/PtWebClient.h"

#include <cstdlib>
#include <memory>
#include <unistd.h>

namespace {

constexpr char kInstalled[] = "/usr/share/Corvanta/";

bool homePageShown = false;

bool HasPage(std::string const &directory) { return access((directory + "index.html").c_str(), R_OK) == 0; }

/// `directory` without links on the way (the page server follows none), with a slash at its end.
std::string WithoutLinks(std::string const &directory) {
    std::unique_ptr<char, void (*)(void *)> const real(realpath(directory.c_str(), nullptr), free);
    return real ? std::string(real.get()) + "/" : directory;
}

/// The nearest share directory above the program: one in the build tree is not to show the page of an installed one.
std::string FindDirectory() {
    char program[4096];
    ssize_t const length = readlink("/proc/self/exe", program, sizeof program);
    std::string above(program, length > 0 ? static_cast<size_t>(length) : 0);
    for (size_t slash; (slash = above.rfind('/')) != std::string::npos; above.resize(slash)) {
        std::string const share = above.substr(0, slash) + "/share/";
        for (std::string const &directory : {share + "Corvanta/", share})
            if (HasPage(directory))
                return WithoutLinks(directory);
    }
    return kInstalled;
}

} // namespace

std::string const &HomePageDirectory() {
    static std::string const directory = FindDirectory();
    return directory;
}

std::string HomePageUrl() { return "file://" + HomePageDirectory() + "index.html"; }

void ShowPage(std::string const &url) {
    homePageShown = url == HomePageUrl();
    PtSetResource(ABW_webEmailMessage, Pt_ARG_WEB_GET_URL, url.c_str(), 1);
}

void ShowHomePage() { ShowPage(HomePageUrl()); }

void ReturnToHomePage() {
    if (!homePageShown)
        ShowHomePage();
}
