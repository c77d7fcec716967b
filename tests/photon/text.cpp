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
    for (auto const &[text, count] : {std::pair<std::string_view, size_t>{"", 0},
                                      {"Gr\xC3\xBC\xC3\x9F", 4},
                                      {"\xF0\x9F\x93\xAC!", 2},
                                      {"Gr\xFC\xDF", 4},       // Latin-1
                                      {"\xC0\xAF", 2},         // overlong
                                      {"\xE0\x80\xAF", 3},     // overlong
                                      {"\xED\xA0\x80", 3},     // a surrogate
                                      {"\xF4\x90\x80\x80", 4}, // beyond U+10FFFF
                                      {"\xE2\x82", 2}})        // cut short
        EXPECT_EQ(PtCountChars(text), count) << text;
    EXPECT_EQ(Utf8At("\xE2\x82\xAC").code, char32_t{0x20AC});
    EXPECT_EQ(PtCharOffset("a\xC3\xBC\xFC\x62", 3), 4u);
    EXPECT_EQ(PtCharOffset("ab", 9), 2u);
}

TEST_F(Text, IsReplacedByCharacterPositions) {
    struct {
        int start, end, at;
        char const *text;
        int length;
        char const *result;
    } const edits[] = {
        {2, 4, 0, "aess", 4, "Graesse"},
        {0, 0, -1, "!\xE2\x82\xAC?", 2, "Graesse!\xE2\x82\xAC"}, // two characters of it, at the end
        {0, 0, 2, "\xFC", 1, "Gr\xFC\x61\x65sse!\xE2\x82\xAC"},  // a byte that is not UTF-8 stays that byte
        {5, 3, 0, nullptr, 0, "Gr\xFCsse!\xE2\x82\xAC"},         // the ends may come in either order
        {3, 999, 0, nullptr, 0, "Gr\xFC"},
        {-5, -3, 0, "x", 1, "xGr\xFC"}, // clamped to the start
    };
    Set("Gr\xC3\xBC\xC3\x9F\x65");
    PtSetResource(field_, Pt_ARG_CURSOR_POSITION, 4, 0);
    for (auto const &[start, end, at, text, length, result] : edits) {
        EXPECT_EQ(PtTextModifyText(field_, start, end, at, text, length), 1);
        EXPECT_EQ(Get(), result);
    }
    EXPECT_EQ(Number<int>(field_, Pt_ARG_CURSOR_POSITION), 4); // after what it was after
    EXPECT_EQ(PtTextModifyText(field_, 1, 1, 1, "", 0), 0);
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
