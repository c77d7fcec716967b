// Text positions count characters: UTF-8 sequences, and Latin-1 bytes where the text is not UTF-8.

#include "photon/fixture.h"

#include "core/utf8.h"

namespace {

class Text : public ToolkitTest {
  protected:
    void Set(char const *text) { SetText(field_, text); }
    std::string Get() const { return TextOf(field_); }

    PtWidget_t *const window_ = PtCreateWidget(PtWindow, Pt_NO_PARENT, 0, nullptr);
    PtWidget_t *const field_ = PtCreateWidget(PtText, window_, 0, nullptr);
};

TEST(Utf8, CountsWhatAReaderSees) {
    EXPECT_EQ(PtCountChars(""), 0u);
    EXPECT_EQ(PtCountChars("Gr\xC3\xBC\xC3\x9F"), 4u);
    EXPECT_EQ(PtCountChars("\xF0\x9F\x93\xAC!"), 2u);
    EXPECT_EQ(PtCountChars("Gr\xFC\xDF"), 4u);                    // Latin-1
    EXPECT_EQ(PtCountChars("\xC0\xAF"), 2u);                      // overlong
    EXPECT_EQ(PtCountChars("\xE0\x80\xAF"), 3u);                  // overlong
    EXPECT_EQ(PtCountChars("\xED\xA0\x80"), 3u);                  // a surrogate
    EXPECT_EQ(PtCountChars("\xF4\x90\x80\x80"), 4u);              // beyond U+10FFFF
    EXPECT_EQ(PtCountChars(std::string_view("\xE2\x82", 2)), 2u); // cut short
    EXPECT_EQ(Utf8At("\xE2\x82\xAC").code, char32_t{0x20AC});
    EXPECT_EQ(Utf8At("\xE2\x82\xAC").bytes, 3u);
    EXPECT_EQ(Utf8At("\xFC").code, char32_t{0xFC});
    EXPECT_EQ(PtCharOffset("a\xC3\xBC\xFC"
                           "b",
                           3),
              4u);
    EXPECT_EQ(PtCharOffset("ab", 9), 2u);
}

TEST_F(Text, IsReplacedByCharacterPositions) {
    Set("Gr\xC3\xBC\xC3\x9F"
        "e");
    PtSetResource(field_, Pt_ARG_CURSOR_POSITION, 4, 0);
    EXPECT_EQ(PtTextModifyText(field_, 2, 4, 0, "aess", 4), 1);
    EXPECT_EQ(Get(), "Graesse");
    EXPECT_EQ(Number<int>(field_, Pt_ARG_CURSOR_POSITION), 6);             // stays behind what it was behind
    EXPECT_EQ(PtTextModifyText(field_, 0, 0, -1, "!\xE2\x82\xAC?", 2), 1); // two characters of it, at the end
    EXPECT_EQ(Get(), "Graesse!\xE2\x82\xAC");
    EXPECT_EQ(PtTextModifyText(field_, 0, 0, 2, "\xFC", 1), 1); // one byte that is not UTF-8 stays that byte
    EXPECT_EQ(Get(), "Gr\xFC"
                     "aesse!\xE2\x82\xAC");
    EXPECT_EQ(PtTextModifyText(field_, 5, 3, 0, nullptr, 0), 1); // the ends may come in either order
    EXPECT_EQ(Get(), "Gr\xFCsse!\xE2\x82\xAC");
    EXPECT_EQ(PtTextModifyText(field_, 3, 999, 0, nullptr, 0), 1);
    EXPECT_EQ(Get(), "Gr\xFC");
    EXPECT_EQ(PtTextModifyText(field_, 1, 1, 1, "", 0), 0);
    EXPECT_EQ(PtTextModifyText(field_, -5, -3, 0, "x", 1), 1); // clamped to the start
    EXPECT_EQ(Get(), "xGr\xFC");
    EXPECT_EQ(PtTextModifyText(window_, 0, 0, 0, "x", 1), -1);
}

TEST_F(Text, BytesThatMeetMayBecomeOneCharacter) {
    Set("\xC3");
    PtTextModifyText(field_, 0, 0, -1, "\xBC", 1);
    PtSetResource(field_, Pt_ARG_MAX_LENGTH, 2, 0); // there is room for one more
    EXPECT_EQ(PtTextModifyText(field_, 0, 0, -1, "e", 1), 1);
    EXPECT_EQ(PtTextModifyText(field_, 0, 1, 0, nullptr, 0), 1); // the whole of it
    EXPECT_EQ(Get(), "e");
}

TEST_F(Text, StaysInsideItsLimit) {
    PtSetResource(field_, Pt_ARG_MAX_LENGTH, 4, 0);
    Set("\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC");
    EXPECT_EQ(Get(), "\xC3\xBC\xC3\xBC\xC3\xBC\xC3\xBC");
    EXPECT_EQ(PtTextModifyText(field_, 0, 0, 0, "more", 4), 0);
    EXPECT_EQ(PtTextModifyText(field_, 0, 3, 0, "abcdef", 6), 1);
    EXPECT_EQ(Get(), "abc\xC3\xBC");
}

TEST_F(Text, LongTextsGrowAtTheEndWithoutBeingReadAgain) {
    PtWidget_t *text = PtCreateWidget(PtMultiText, window_, 0, nullptr);
    std::string const line(100, 'x');
    for (int i = 0; i < 20000; i++) // 2 MB; counting it all for each line would take minutes
        PtTextModifyText(text, 0, 0, -1, line.c_str(), 100);
    EXPECT_EQ(PtValueOf(*text, Pt_ARG_TEXT_STRING)->bytes.size(), 2000000u);
}

} // namespace
