// The whitelist cleaner against hostile pages.

#include "vserver/clean.h"
#include "vserver/protocol.h"

#include <chrono>
#include <gtest/gtest.h>

namespace vserver {
namespace {

using namespace std::string_literals;

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

struct Page {
    std::string page, clean;
};

Page const kPages[] = {
    // Text
    {"a < b > c & d", "a &lt; b &gt; c &amp; d"},
    {"&lt;b&gt; &eacute; &bogus; &copy &;", "&lt;b&gt; &eacute; &bogus; &amp;copy &amp;;"},
    {"&#65;&#x42;&#60;b&#62;", "AB&lt;b&gt;"},
    {"&#0;&#xD800;&#1114112;&#99999999999999999999;&#xFDD0;&#", "\uFFFD\uFFFD\uFFFD\uFFFD\uFFFD&amp;#"},
    {"caf\xe9 \xc3\xa9", "caf\xc3\xa9 \xc3\x83\xc2\xa9"},
    {"\xed\xa0\x80", "\xc3\xad\xc2\xa0\xc2\x80"},     // a surrogate is not UTF-8
    {"x\xef\xb7\x90\xef\xbf\xbcy\xef\xbf\xbf", "xy"}, // Qt's own marks
    {"a\0b\x1b[31m\x7f"s, "ab[31m"},
    {"a\r\nb\rc\fd", "a\nb\nc d"},
    // Tags
    {"<BODY onload=x() bgcolor=#fff>a", "<body bgcolor=\"#fff\">a"},
    {"<b onclick=x style='color:red'>a</B>", "<b>a</b>"},
    {"<blink>a</blink><o:p>b</o:p>", "ab"},
    {"x<script>alert('</b>')</script>y", "xy"},
    {"x<SCRIPT src=a></ScRiPt >y", "xy"},
    {"x<scr\0ipt>z</script>y"s, "xy"},
    {"x<style>p{}</style><title>t</title>y", "xy"},
    {"x<iframe src=http://a/>z</iframe><object data=a>z</object><svg onload=a><p>z</svg>y", "xy"},
    {"x<script>y", "xy"}, // without an end, its content is text like any other
    {"<link rel=stylesheet href=a><meta http-equiv=refresh content=0><base href=http://a/><embed src=a>", ""},
    {"<form action=http://a/>t<input type=password></form>", "t"},
    {"x<!-- <b> -->y<!--z", "xyz"},
    {"<!DOCTYPE html>x<?xml a?>y<![CDATA[z]]>", "xy"},
    {"</b></table></td>x</p>", "x"},
    {"<b><i>x</b>y</i>z", "<b><i>x</i></b>yz"},
    {"<p>a<p>b<div>c", "<p>a</p><p>b</p><div>c</div>"},
    {"<b", "<b></b>"},
    {"<b x='", "<b></b>"},
    {"<b x='>y", "<b>y</b>"},
    {"<b x=\"a>b\">y", "<b>y</b>"},
    {"<>x</>y< b>", "&lt;&gt;x&lt;/&gt;y&lt; b&gt;"},
    {"<ul><li>a<li>b</ul><li>c", "<ul><li>a</li><li>b</li></ul><br>c"},
    {"<dl><dt>a<dd>b</dl>", "<dl><dt>a</dt><dd>b</dd></dl>"},
    // Attributes
    {"<font size=-1 color=red face=x>a", "<font color=\"red\" size=\"-1\">a</font>"},
    {"<font size=9999999999 color='#12345'>a", "<font size=\"7\">a</font>"},
    {"<font color='url(http://a/)'>a", "<font>a</font>"},
    {"<table width=99999 border=999 bgcolor=\"&#114;ed\" background=http://a/><td width=300% valign=TOP>a",
     "<table bgcolor=\"red\" width=\"2000\" border=\"20\"><tr><td width=\"100%\" "
     "valign=\"TOP\">a</td></tr></table>"},
    {"<hr size=9999 width=1%>", "<hr width=\"1%\" size=\"50\">"},
    {"<p align=center align=right>a", "<p align=\"center\">a</p>"},
    {"<p align='x\"onclick=\"y'>a", "<p>a</p>"},
    // Addresses
    {"<a href=http://a/?x=1&amp;y=\"2>t</a>", "<a href=\"http://a/?x=1&amp;y=&quot;2\">t</a>"},
    {"<a href=' HTTPS://a/'>t</a><a href=mailto:a@b>u</a>",
     "<a href=\"HTTPS://a/\">t</a><a href=\"mailto:a@b\">u</a>"},
    {"<a href=javascript:x>t</a><a href='java\nscript:x'>t</a><a href='&#106;avascript:x'>t</a>", "ttt"},
    {"<a href=file:///etc/passwd>t</a><a href=data:text/html,x>t</a><a href=//a/>t</a><a href=#x>t</a>", "tttt"},
    {"<a href='http://a/\nb'>t</a><a href=http://>t</a><a name=x>t</a>", "ttt"},
    {"<a href=http://a/>t<a href=http://b/>u</a></a>", "<a href=\"http://a/\">t</a><a href=\"http://b/\">u</a>"},
    {"<img src=1_0.gif><img src='1_0.gif'><IMG SRC=\"2.png\" width=9999 height=5>",
     "<img src=\"img:0\"><img src=\"img:0\"><img src=\"img:1\" width=\"4000\" height=\"5\">"},
    {"<img src=http://a/b width=100 height=50><img src=//a/b><img src=../a><img src=/etc/a><img>",
     "<img src=\"frame:100x50\">" + Repeat("<img src=\"frame:16x16\">", 4)},
    {"<img src=file:a><img src=a\\b><img src=..><img src='a&#10;b'><img src=img:0><img src=http:a width=1 "
     "height=1>",
     Repeat("<img src=\"frame:16x16\">", 5) + "<img src=\"frame:1x1\">"},
    // Tables
    {"<table></table>", "<table><tr><td></td></tr></table>"},
    {"<table><tr></tr><td>a", "<table><tr><td></td></tr><tr><td>a</td></tr></table>"},
    {"<table>x<tr>y<td>z</table>", "<table><tr><td>x</td></tr><tr><td>y</td><td>z</td></tr></table>"},
    {"<table><caption>c</caption><thead><tr><th>h</thead><tbody><tr><td>a</tbody></table>",
     "<table><tr><td>c</td></tr><tr><th>h</th></tr><tr><td>a</td></tr></table>"},
    {"<td>a<tr>b", " a b"},
    {"<table><tr><td><b>a<td>b</b></table>c", "<table><tr><td><b>a</b></td><td>b</td></tr></table>c"},
    {"<table><tr><td></p></b></div></ul>a</table>", "<table><tr><td>a</td></tr></table>"},
};

TEST(Cleaner, LeavesOnlyTheHarmless) {
    for (auto const &[page, clean] : kPages)
        EXPECT_EQ(CleanHtml(page).html, clean);
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

TEST(CleanerLimits, LinearTime) {
    size_t const many = size_t{1} << 17;
    std::string const pages[] = {
        Repeat("<", kMaxPageBytes),  Repeat("<a b=\"", many),        Repeat("<!--", many),
        Repeat("<script>", many),    Repeat("<svg></", many),        Repeat("<table><tr><td>", many),
        Repeat("<b></i>", many),     Repeat("&#", 4 * many),         Repeat("<a b='<a b=\"", many),
        Repeat("<ul><li><p>", many), Repeat("<b><i><a href=", many), Repeat("</table></td>", many),
    };
    for (std::string const &page : pages) {
        auto const start = std::chrono::steady_clock::now();
        CleanPage const clean = CleanHtml(page);
        auto const time = std::chrono::steady_clock::now() - start;
        // Less than 0.3 s where nothing slows it down; quadratic time would be minutes.
        EXPECT_LT(time, std::chrono::seconds(20)) << page.substr(0, 16);
        EXPECT_LE(clean.html.size(), kMaxCleanBytes) << page.substr(0, 16);
    }
}

} // namespace
} // namespace vserver
