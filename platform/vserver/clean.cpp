#include "clean.h"

#include "clean_budget.h"
#include "clean_reader.h"
#include "markup.h"
#include "protocol.h"

#include <algorithm>
#include <unordered_map>

namespace vserver {
namespace {

bool IsLetter(char c) { return LowerCase(c) >= 'a' && LowerCase(c) <= 'z'; }

/// Writes the clean page: keeps the open elements, so that the result is always well nested and each table is a
/// proper grid, whatever comes in.
class Writer {
  public:
    void Text(std::string_view text);
    void Open(Tag const &tag, Attributes const &attributes);
    void Close(Tag const &tag);
    CleanPage Finish();
    bool Full() const { return budget_.Cut(); } ///< nothing more is shown

  private:
    Role Top() const { return open_.empty() ? Role::Unknown : open_.back()->role; }
    void Emit(Tag const &tag, Attributes const &attributes);
    void Push(Tag const &tag, Attributes const &attributes);
    void PopTop();
    void PopTo(size_t size);
    /// Index of the innermost open element for which `matches` holds, looking no further than `boundary` allows;
    /// npos when there is none.
    template <class Matches, class Boundary> size_t Find(Matches matches, Boundary boundary) const;
    size_t FindRole(Role role) const;
    /// The number of open elements for which `matches` holds.
    template <class Matches> long Count(Matches matches) const {
        return std::count_if(open_.begin(), open_.end(), matches);
    }

    void Image(Attributes const &attributes);
    void OpenItem(Tag const &tag);
    void OpenTable(Tag const &tag, Attributes const &attributes);
    void OpenRow(Tag const &tag, Attributes const &attributes);
    void OpenCell(Tag const &tag, Attributes const &attributes);
    void CloseTablePart(Tag const &tag);
    void CloseParagraph();
    void EnsureCell();
    void GiveUpTables();
    void AppendBroken(std::string_view text);

    CleanPage page_;
    std::vector<Tag const *> open_;
    TableBudget tables_;
    PageBudget budget_;
    std::array<uint32_t, kMaxTagCount> dropped_{}; ///< start tags that were dropped: their end tags go too
    std::unordered_map<std::string, size_t> image_numbers_;
    bool body_ = false;
};

bool Indents(Tag const *tag) { return tag->role == Role::List || tag->name == "blockquote"; }

bool IsCellBoundary(Tag const *tag) {
    return tag->role == Role::Cell || tag->role == Role::Row || tag->role == Role::Table;
}

template <class Matches, class Boundary> size_t Writer::Find(Matches matches, Boundary boundary) const {
    for (size_t i = open_.size(); i-- > 0;) {
        if (matches(open_[i]))
            return i;
        if (boundary(open_[i]))
            break;
    }
    return std::string_view::npos;
}

size_t Writer::FindRole(Role role) const {
    return Find([role](Tag const *tag) { return tag->role == role; }, [](Tag const *) { return false; });
}

void Writer::Emit(Tag const &tag, Attributes const &attributes) {
    page_.html.append("<").append(tag.shown);
    AppendAttributes(page_.html, tag, attributes);
    page_.html.push_back('>');
    budget_.AddElement();
    if (tag.role != Role::Inline)
        budget_.EndParagraph();
}

void Writer::Push(Tag const &tag, Attributes const &attributes) {
    Emit(tag, attributes);
    open_.push_back(&tag);
}

void Writer::PopTop() {
    Tag const *const tag = open_.back();
    // Qt does not expect a table without rows or a row without cells.
    if (tag->role == Role::Row && tables_.FillRow())
        page_.html += "<td></td>";
    else if (tag->role == Role::Table && !tables_.Close())
        page_.html += "<tr><td></td></tr>";
    page_.html.append("</").append(tag->shown).append(">");
    open_.pop_back();
}

void Writer::PopTo(size_t size) {
    while (open_.size() > size)
        PopTop();
}

/// Closes all tables; what follows is shown without.
void Writer::GiveUpTables() {
    auto const outermost =
        std::find_if(open_.begin(), open_.end(), [](Tag const *tag) { return tag->role == Role::Table; });
    PopTo(static_cast<size_t>(outermost - open_.begin()));
    tables_.GiveUp();
}

void Writer::Text(std::string_view text) {
    bool const between_cells = Top() == Role::Table || Top() == Role::Row;
    if (text.empty() || ((between_cells || page_.html.empty()) && Trimmed(text).empty()))
        return;
    bool const preformatted = Count([](Tag const *tag) { return tag->name == "pre"; }) > 0;
    if (!tables_.AddText(TextCost(text, preformatted)))
        GiveUpTables();
    EnsureCell();
    if (!Full())
        AppendBroken(budget_.SpendSome(text, preformatted));
}

/// Appends text, with line breaks in words of inhuman length.
void Writer::AppendBroken(std::string_view text) {
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (IsBlank(text[i])) {
            budget_.EndWord();
        } else if (!IsContinuation(text[i]) && !budget_.AddUnbroken()) {
            // Not within an entity.
            size_t const near = i - std::min<size_t>(i - start, 40);
            size_t const ampersand = text.substr(near, i - near).rfind('&');
            size_t const end = ampersand == std::string_view::npos ? i : near + ampersand;
            AppendText(page_.html, text.substr(start, end - start));
            page_.html += "<br>";
            start = end;
            budget_.EndWord(1);
        }
    }
    AppendText(page_.html, text.substr(start));
}

/// Between the cells of a table nothing can be shown: opens a cell there.
void Writer::EnsureCell() {
    if (Top() == Role::Table || Top() == Role::Row)
        OpenCell(*FindTag("td"), {});
}

/// A paragraph ends where the next block starts.
void Writer::CloseParagraph() {
    size_t const paragraph =
        Find([](Tag const *tag) { return tag->role == Role::Paragraph; },
             [](Tag const *tag) { return tag->role != Role::Inline && tag->role != Role::Anchor; });
    if (paragraph != std::string_view::npos)
        PopTo(paragraph);
}

void Writer::Open(Tag const &tag, Attributes const &attributes) {
    if (!budget_.MayAddElement() || Full()) {
        ++dropped_[TagIndex(&tag)];
        return;
    }
    switch (tag.role) {
    case Role::Unknown:
    case Role::Content:
        return;
    case Role::Body:
        if (!std::exchange(body_, true) && page_.html.empty())
            Emit(tag, attributes);
        return;
    case Role::Table:
        return OpenTable(tag, attributes);
    case Role::Section:
    case Role::Row:
    case Role::Cell:
        if (tables_.NoneOpen() || dropped_[TagIndex(FindTag("table"))] > 0)
            page_.html.push_back(' '); // keeps the texts of cells apart
        else if (tag.role == Role::Section)
            PopTo(FindRole(Role::Table) + 1);
        else if (tag.role == Role::Row)
            OpenRow(tag, attributes);
        else
            OpenCell(tag, attributes);
        return;
    default:
        break;
    }
    EnsureCell();
    if (tag.role == Role::Void)
        return Emit(tag, attributes);
    if (tag.role == Role::Image)
        return Image(attributes);
    if (tag.role == Role::Item)
        return OpenItem(tag);
    if (tag.role == Role::Anchor) {
        size_t const outer = Find([](Tag const *open) { return open->role == Role::Anchor; }, IsCellBoundary);
        if (outer != std::string_view::npos)
            PopTo(outer);
    } else if (tag.role != Role::Inline) {
        CloseParagraph();
    }
    bool const in_line = tag.role == Role::Inline || tag.role == Role::Anchor;
    bool const too_deep = Indents(&tag) && Count(Indents) >= static_cast<long>(kMaxIndents);
    if (open_.size() >= kMaxNesting || too_deep || (in_line && !budget_.AddInline())) {
        ++dropped_[TagIndex(&tag)];
        return;
    }
    if (tag.role != Role::Anchor)
        return Push(tag, attributes);

    std::string const address = LinkAddress(attributes[kHref]);
    if (address.empty() || !budget_.Spend(address.size()))
        return;
    page_.html += "<a href=\"";
    AppendAttribute(page_.html, address);
    page_.html += "\">";
    open_.push_back(&tag);
    budget_.AddElement();
}

void Writer::Image(Attributes const &attributes) {
    if (!budget_.AddImageTag())
        return;
    std::string const decoded = DecodeAttribute(attributes[kSrc].substr(0, 600));
    std::string const name(Trimmed(decoded));
    unsigned const width = Pixels(Trimmed(attributes[kWidth]), 4000, 0);
    unsigned const height = Pixels(Trimmed(attributes[kHeight]), 4000, 0);
    budget_.AddElement();
    auto known = image_numbers_.find(name);
    if (known == image_numbers_.end() && IsPlainImageName(name) && page_.images.size() < kMaxImages) {
        known = image_numbers_.emplace(name, page_.images.size()).first;
        page_.images.push_back(name);
    }
    if (known == image_numbers_.end()) {
        auto const side = [](unsigned pixels) { return std::to_string(std::clamp(pixels, 1u, 1000u)); };
        bool const sized = width > 0 || height > 0;
        page_.html += "<img src=\"frame:" + side(sized ? std::max(width, 1u) : 16) + "x" +
                      side(sized ? std::max(height, 1u) : 16) + "\">";
        return;
    }
    page_.html += "<img src=\"img:" + std::to_string(known->second) + "\"";
    if (width > 0)
        page_.html += " width=\"" + std::to_string(width) + "\"";
    if (height > 0)
        page_.html += " height=\"" + std::to_string(height) + "\"";
    page_.html += ">";
}

void Writer::OpenItem(Tag const &tag) {
    bool const definition = tag.name != "li";
    size_t const list =
        Find([&](Tag const *open) { return open->role == Role::List && (open->name == "dl") == definition; },
             IsCellBoundary);
    if (list == std::string_view::npos || open_.size() >= kMaxNesting || !budget_.AddListItem()) {
        ++dropped_[TagIndex(&tag)];
        page_.html += "<br>";
        budget_.AddElement();
        return;
    }
    PopTo(list + 1);
    Push(tag, {});
}

void Writer::OpenTable(Tag const &tag, Attributes const &attributes) {
    constexpr size_t kInside =
        6; // room for the row and cell around it, itself, its own row and cell, and a tag in that
    if (!tables_.MayOpen() || open_.size() + kInside > kMaxNesting) {
        ++dropped_[TagIndex(&tag)];
        return;
    }
    EnsureCell();
    CloseParagraph();
    if (tables_.Spent()) // opening a cell around it was too much
        return;
    Push(tag, attributes);
    tables_.Open();
}

void Writer::OpenRow(Tag const &tag, Attributes const &attributes) {
    PopTo(FindRole(Role::Table) + 1);
    if (!tables_.AddRow())
        return GiveUpTables();
    Push(tag, attributes);
}

void Writer::OpenCell(Tag const &tag, Attributes const &attributes) {
    size_t const row = Find([](Tag const *open) { return open->role == Role::Row; },
                            [](Tag const *open) { return open->role == Role::Table; });
    if (row == std::string_view::npos)
        PopTo(FindRole(Role::Table) + 1);
    else
        PopTo(row + 1);
    if (row == std::string_view::npos || tables_.RowIsFull())
        OpenRow(*FindTag("tr"), {});
    if (tables_.Spent())
        return;
    if (!tables_.AddCell())
        return GiveUpTables();
    Push(tag, attributes);
}

void Writer::CloseTablePart(Tag const &tag) {
    uint32_t &dropped_tables = dropped_[TagIndex(FindTag("table"))];
    if (tables_.NoneOpen() || dropped_tables > 0) {
        if (tag.role == Role::Table && dropped_tables > 0)
            --dropped_tables;
        return;
    }
    size_t const part = Find([&](Tag const *open) { return open->role == tag.role; },
                             [](Tag const *open) { return open->role == Role::Table; });
    if (part != std::string_view::npos)
        PopTo(part);
}

void Writer::Close(Tag const &tag) {
    switch (tag.role) {
    case Role::Table:
    case Role::Row:
    case Role::Cell:
        return CloseTablePart(tag);
    case Role::Inline:
    case Role::Anchor:
    case Role::Block:
    case Role::Paragraph:
    case Role::List:
    case Role::Item:
        break;
    default:
        return;
    }
    if (dropped_[TagIndex(&tag)] > 0) {
        --dropped_[TagIndex(&tag)];
        return;
    }
    size_t const element = Find([&](Tag const *open) { return open == &tag; }, IsCellBoundary);
    if (element != std::string_view::npos)
        PopTo(element);
}

CleanPage Writer::Finish() {
    PopTo(0);
    if (Full())
        page_.html += "<hr><p>This page is too long to be shown whole.</p>";
    return std::move(page_);
}

/// Reads what starts with the reader's "<" and hands it on.
void ReadMarkup(Reader &reader, Writer &writer, std::array<bool, kMaxTagCount> &endless, bool &comment_endless,
                bool &declaration_endless) {
    char const next = reader.Peek(1);
    if (next == '!' && reader.Peek(2) == '-' && reader.Peek(3) == '-') {
        reader.Skip(4);
        reader.SkipBehind("-->", comment_endless);
        return;
    }
    if (next == '!' || next == '?') {
        reader.Skip(2);
        reader.SkipBehind(">", declaration_endless);
        return;
    }
    bool const closing = next == '/';
    if (!IsLetter(reader.Peek(closing ? 2 : 1))) {
        reader.Skip(1);
        writer.Text("<");
        return;
    }
    reader.Skip(closing ? 2 : 1);
    Tag const *const tag = FindTag(reader.Name());
    Attributes const attributes = reader.ReadAttributes();
    if (!tag)
        return;
    if (closing)
        writer.Close(*tag);
    else if (tag->role == Role::Content)
        reader.SkipContent(tag->name, endless[TagIndex(tag)]);
    else
        writer.Open(*tag, attributes);
}

} // namespace

bool IsPlainImageName(std::string_view name) {
    constexpr size_t kLongest = 255; // NAME_MAX
    if (name.empty() || name.size() > kLongest || name == "." || name == "..")
        return false;
    return std::none_of(name.begin(), name.end(), [](char c) {
        return c == '/' || c == '\\' || c == ':' || static_cast<unsigned char>(c) < 0x20 || c == 0x7F;
    });
}

CleanPage CleanHtml(std::string_view bytes) {
    std::string const page = PageText(bytes);
    Reader reader(page);
    Writer writer;
    std::array<bool, kMaxTagCount> endless{};
    bool comment_endless = false, declaration_endless = false;
    while (!reader.AtEnd() && !writer.Full()) {
        writer.Text(reader.Text());
        if (!reader.AtEnd())
            ReadMarkup(reader, writer, endless, comment_endless, declaration_endless);
    }
    return writer.Finish();
}

} // namespace vserver
