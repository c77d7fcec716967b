// The whitelist cleaner against hostile pages.

#include "fixtures/dialogue.h"
#include "vserver/clean.h"
#include "vserver/protocol.h"

#include <ctime>
#include <gtest/gtest.h>

namespace vserver {
namespace {

std::string Repeat(std::string_view text, size_t count) {
    std::string repeated;
    repeated.reserve(text.size() * count);
    for (size_t i = 0; i < count; ++i)
        repeated += text;
    return repeated;
}

size_t Count(std::string_view text, std::string_view wanted) {
    size_t count = 0;
    for (size_t at = text.find(wanted); at != std::string_view::npos; at = text.find(wanted, at + wanted.size()))
        ++count;
    return count;
}

TEST(Cleaner, LeavesOnlyTheHarmless) {
    std::vector<Dialogue> const pages = ReadTable("cleaned");
    EXPECT_GT(pages.size(), 50u);
    for (Dialogue const &one : pages)
        EXPECT_EQ(CleanHtml(one["page"]).html, one["clean"]) << one.name;
}

TEST(CleanerLimits, TablesFourDeep) {
    CleanPage const page =
        CleanHtml(Repeat("<table><tr><td>", 60) + "deep" + Repeat("</td></tr></table>", 60) + "<b>x</b>");
    EXPECT_EQ(Count(page.html, "<table>"), 4u);
    EXPECT_EQ(Count(page.html, "</table>"), 4u);
    EXPECT_NE(page.html.find("deep</td>"), std::string::npos);
    EXPECT_TRUE(page.html.ends_with("</table><b>x</b>"));
}

TEST(CleanerLimits, NestingElementsAndLists) {
    std::string const deep = CleanHtml(Repeat("<div>", 500) + "x" + Repeat("</div>", 436) + "y").html;
    EXPECT_EQ(Count(deep, "<div>"), 64u);
    EXPECT_EQ(Count(deep, "</div>"), 64u);
    EXPECT_NE(deep.find("xy"), std::string::npos) << "ends of dropped elements close nothing";

    std::string const many = CleanHtml(Repeat("<p>x", 300'000)).html;
    EXPECT_EQ(Count(many, "<p>"), 200'000u);
    EXPECT_EQ(Count(many, "x"), 300'000u);

    std::string const items = CleanHtml("<ul>" + Repeat("<li>x</li>", 5000)).html;
    EXPECT_EQ(Count(items, "<li>"), 2000u);
    EXPECT_EQ(Count(items, "x"), 5000u);
}

TEST(CleanerLimits, GridOfATable) {
    // One wide row makes all rows wide: 100,000 rows of 100,000 columns.
    std::string const page =
        CleanHtml("<table>" + Repeat("<td>x", 100'000) + Repeat("<tr><td>y", 100'000) + "</table>z").html;
    EXPECT_LE(Count(page, "<tr>") * kMaxColumns, kMaxTableCost / kGridCellCost + kMaxColumns);
    EXPECT_EQ(Count(page, "x"), 100'000u);
    EXPECT_EQ(Count(page, "y"), 100'000u);
    EXPECT_EQ(Count(page, "<table>"), Count(page, "</table>"));
}

TEST(CleanerLimits, ImagesAndText) {
    std::string images;
    for (int i = 0; i < 300; ++i)
        images += "<img src=" + std::to_string(i) + ">";
    CleanPage const page = CleanHtml(images);
    EXPECT_EQ(page.images.size(), kMaxImages);
    EXPECT_NE(page.html.find("img:199"), std::string::npos);
    EXPECT_EQ(page.html.find("img:200"), std::string::npos);

    std::string const longest = CleanHtml(Repeat("word ", 2u << 20)).html;
    EXPECT_LT(longest.size(), kMaxShownText + 100);
    EXPECT_TRUE(longest.ends_with("too long to be shown whole.</p>"));

    std::string const word = CleanHtml(Repeat("\xc3\xa9&amp;", 5000)).html;
    EXPECT_EQ(Count(word, "\xc3\xa9"), 5000u);
    EXPECT_EQ(Count(word, "&amp;"), 5000u);
    EXPECT_GT(Count(word, "<br>"), 10u);
}

TEST(CleanerLimits, WhatQtLaysOutSlowly) {
    // Lines that are paragraphs, writing in pieces, widths of nothing: minutes and gigabytes without a limit.
    EXPECT_LE(Count(CleanHtml("<pre>" + Repeat("\n", 1u << 22)).html, "\n"), 210'000u);
    EXPECT_LE(Count(CleanHtml("<pre>" + Repeat("&#10;", 1u << 20)).html, "\n"), 400'000u);
    EXPECT_LE(CleanHtml(Repeat("a\xd7\x90", 1u << 20)).html.size(), 1'500'000u);
    std::string const quoted =
        CleanHtml(Repeat("<blockquote><ul>", 30) + "x" + Repeat("</ul></blockquote>", 30) + "y").html;
    EXPECT_EQ(Count(quoted, "<blockquote>") + Count(quoted, "<ul>"), kMaxIndents);
    EXPECT_TRUE(quoted.ends_with("</blockquote>y"));
}

/// What this thread has had of a processor: the machine may be busy with something else.
double ProcessorSeconds() {
    timespec time{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

TEST(CleanerLimits, LinearTime) {
    size_t const many = size_t{1} << 17;
    std::string const pages[] = {
        Repeat("<", kMaxPageBytes),  Repeat("<a b=\"", many),        Repeat("<!--", many),
        Repeat("<script>", many),    Repeat("<svg></", many),        Repeat("<table><tr><td>", many),
        Repeat("<b></i>", many),     Repeat("&#", 4 * many),         Repeat("<a b='<a b=\"", many),
        Repeat("<ul><li><p>", many), Repeat("<b><i><a href=", many), Repeat("</table></td>", many),
    };
    for (std::string const &page : pages) {
        double const start = ProcessorSeconds();
        CleanPage const clean = CleanHtml(page);
        // Less than 0.3 s where nothing slows it down; quadratic time would be minutes.
        EXPECT_LT(ProcessorSeconds() - start, 20) << page.substr(0, 16);
        EXPECT_LE(clean.html.size(), kMaxCleanBytes) << page.substr(0, 16);
    }
}

} // namespace
} // namespace vserver
