#include "qt/views/text_edit.h"

#include "qt/views/text_codec.h"

#include <cstring>

bool VerifyEdit(TextEdit const &edit, std::function<void(PtTextCallback_t &)> const &verify, std::string &text) {
    text = edit.inserted;
    PtTextCallback_t change{};
    change.start_pos = edit.start;
    change.end_pos = edit.end;
    change.cur_insert = edit.cursor;
    change.length = CountCharacters(edit.inserted);
    change.new_insert = edit.start + change.length;
    change.text = text.data();
    change.doit = 1;
    int const offered = change.length;
    verify(change);
    if (!change.doit)
        return false;
    if (change.length <= 0 || !change.text) {
        text.clear();
    } else if (change.text != text.data()) {
        // Another text: its characters as far as they go, at most `length`.
        size_t const bytes = strnlen(change.text, static_cast<size_t>(change.length) * 4);
        text = FirstCharacters(std::string_view(change.text, bytes), change.length);
    } else if (change.length < offered) {
        text = std::string(FirstCharacters(text, change.length));
    }
    return true;
}
