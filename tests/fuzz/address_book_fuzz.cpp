// sources: src/profiles/address_book_file.cpp
// Any bytes as an address book: rows are whole and short, an edited contact is one row again, and what the list would
// write is read back as the same rows.

#include "fuzz_input.h"

#include "profiles/address_book_file.h"

FUZZ(address_book) {
    std::string text(reinterpret_cast<char const *>(data), size);
    text.shrink_to_fit();
    std::string written;
    std::vector<std::string_view> const rows = BookRows(text);
    for (std::string_view const row : rows) {
        Require(!row.empty() && row.size() < 1000 && row.find_first_of(std::string_view("\n\0", 2)) == row.npos);
        Require(ContactAddress(row).find('\t') == std::string_view::npos);
        std::string const edited = ContactRow(SplitContact(row));
        Require(edited.size() <= row.size() + 2 && BookRows(edited).size() == 1);
        Contact const again = SplitContact(edited), once = SplitContact(ContactRow(again));
        Require(again.name == once.name && again.address == once.address);
        written.append(row).append("\n");
    }
    Require(BookRows(written) == rows);
}
