#include "clean.h"

#include "markup.h"
#include "protocol.h"

#include <algorithm>
#include <unordered_map>

namespace vserver {
namespace {

bool IsLetter(char c) { return LowerCase(c) >= 'a' && LowerCase(c) <= 'z'; }
bool IsContinuation(char c) { return (static_cast<unsigned char>(c) & 0xC0) == 0x80; } // of UTF-8
bool EndsName(char c) { return IsBlank(c) || c == '>' || c == '/'; }

/// Reads tags out of a page, each byte once.
class Reader {
  public:
    explicit Reader(std::string_view page) : page_(page) {}

    bool AtEnd() const { return at_ >= page_.size(); }
    /// The text before the next "<".
    std::string_view Text() { return Take(std::min(page_.find('<', at_), page_.size())); }
    char Peek(size_t ahead) const { return at_ + ahead < page_.size() ? page_[at_ + ahead] : '\0'; }
    void Skip(size_t count) { at_ = std::min(at_ + count, page_.size()); }

    std::string_view Name() {
        size_t end = at_;
        while (end < page_.size() && !EndsName(page_[end]))
            ++end;
        return Take(end);
    }

    /// Skips to behind `end`. False, and nothing is skipped, when it does not come; `missing` remembers that.
    bool SkipBehind(std::string_view end, bool &missing) {
        size_t const found = missing ? std::string_view::npos : page_.find(end, at_);
        missing = found == std::string_view::npos;
        if (!missing)
            at_ = found + end.size();
        return !missing;
    }

    /// Skips to the "</name" that ends an element. False, and nothing is skipped, when it does not come.
    bool SkipContent(std::string_view name, bool &missing) {
        for (size_t from = at_; !missing;) {
            size_t const found = page_.find("</", from);
            if (found == std::string_view::npos) {
                missing = true;
            } else if (EqualNoCase(page_.substr(found + 2, name.size()), name)) {
                at_ = found;
                return true;
            } else {
                from = found + 2;
            }
        }
        return false;
    }

    /// Reads the attributes of a tag up to and with its ">".
    Attributes ReadAttributes() {
        Attributes found{};
        while (!AtEnd()) {
            while (!AtEnd() && (IsBlank(page_[at_]) || page_[at_] == '/'))
                ++at_;
            if (AtEnd() || page_[at_] == '>') {
                Skip(1);
                break;
            }
            size_t const start = at_++;
            while (!AtEnd() && !EndsName(page_[at_]) && page_[at_] != '=')
                ++at_;
            Attribute const attribute = FindAttribute(page_.substr(start, at_ - start));
            std::string_view const value = Value();
            if (attribute != kAttributeCount && found[attribute].data() == nullptr)
                found[attribute] = value;
        }
        return found;
    }

  private:
    std::string_view Take(size_t end) {
        std::string_view const taken = page_.substr(at_, end - at_);
        at_ = end;
        return taken;
    }

    /// The value behind an attribute's name, empty when there is none.
    std::string_view Value() {
        size_t next = at_;
        while (next < page_.size() && IsBlank(page_[next]))
            ++next;
        if (next == page_.size() || page_[next] != '=')
            return page_.substr(at_, 0);
        at_ = next + 1;
        while (!AtEnd() && IsBlank(page_[at_]))
            ++at_;
        char const quote = Peek(0);
        if (quote == '"' || quote == '\'') {
            bool &missing = quote == '"' ? no_double_ : no_single_;
            size_t const end = missing ? std::string_view::npos : page_.find(quote, at_ + 1);
            missing = end == std::string_view::npos;
            ++at_;
            if (!missing) {
                std::string_view const value = Take(end);
                Skip(1);
                return value;
            }
        }
        size_t end = at_;
        while (end < page_.size() && !IsBlank(page_[end]) && page_[end] != '>')
            ++end;
        return Take(end);
    }

    std::string_view page_;
    size_t at_ = 0;
    bool no_double_ = false, no_single_ = false; ///< no such quote comes any more
};

/// Writes the clean page: keeps the open elements, so that the result is always well nested and each table is a
/// proper grid, whatever comes in.
class Writer {
  public:
    void Text(std::string_view text);
    void Open(Tag const &tag, Attributes const &attributes);
    void Close(Tag const &tag);
    CleanPage Finish();
    bool Full() const { return cut_; } ///< nothing more is shown

  private:
    struct Table {
        size_t rows = 0, columns = 0, cells = 0; ///< cells: of the open row
    };

    Role Top() const { return open_.empty() ? Role::Unknown : open_.back()->role; }
    void Emit(Tag const &tag, Attributes const &attributes);
    void Push(Tag const &tag, Attributes const &attributes);
    void PopTop();
    void PopTo(size_t size);
    /// Index of the innermost open element for which `matches` holds, looking no further than `boundary` allows;
    /// npos when there is none.
    template <class Matches, class Boundary> size_t Find(Matches matches, Boundary boundary) const;
    size_t FindRole(Role role) const;

    void Image(Attributes const &attributes);
    void OpenItem(Tag const &tag);
    void OpenTable(Tag const &tag, Attributes const &attributes);
    void OpenRow(Tag const &tag, Attributes const &attributes);
    void OpenCell(Tag const &tag, Attributes const &attributes);
    void CloseTablePart(Tag const &tag);
    void CloseParagraph();
    void EnsureCell();
    bool Afford(size_t cost);
    void GiveUpTables();
    bool Spend(size_t bytes);
    void AppendBroken(std::string_view text);

    CleanPage page_;
    std::vector<Tag const *> open_;
    std::vector<Table> tables_;                    ///< of the open tables, outermost first
    std::array<uint32_t, kMaxTagCount> dropped_{}; ///< start tags that were dropped: their end tags go too
    std::unordered_map<std::string, size_t> image_numbers_;
    size_t elements_ = 0, list_items_ = 0, image_tags_ = 0, inline_run_ = 0, unbroken_ = 0, shown_ = 0,
           table_cost_ = 0;
    bool body_ = false, tables_off_ = false, cut_ = false;
};

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
    ++elements_;
    if (tag.role != Role::Inline)
        inline_run_ = unbroken_ = 0;
}

void Writer::Push(Tag const &tag, Attributes const &attributes) {
    Emit(tag, attributes);
    open_.push_back(&tag);
}

void Writer::PopTop() {
    Tag const *const tag = open_.back();
    // Qt does not expect a table without rows or a row without cells.
    if (tag->role == Role::Row && tables_.back().cells == 0) {
        tables_.back().cells = 1;
        tables_.back().columns = std::max<size_t>(tables_.back().columns, 1);
        page_.html += "<td></td>";
    } else if (tag->role == Role::Table) {
        if (tables_.back().rows == 0)
            page_.html += "<tr><td></td></tr>";
        tables_.pop_back();
    }
    page_.html.append("</").append(tag->shown).append(">");
    open_.pop_back();
}

void Writer::PopTo(size_t size) {
    while (open_.size() > size)
        PopTop();
}

/// Counts bytes that will be shown; false when the page has had enough.
bool Writer::Spend(size_t bytes) {
    if (cut_ || bytes > kMaxShownText - shown_) {
        cut_ = true;
        return false;
    }
    shown_ += bytes;
    return true;
}

/// Counts what a part of the innermost table costs; false when tables have cost enough.
bool Writer::Afford(size_t cost) {
    size_t const level = tables_.empty() ? 0 : tables_.size() - 1;
    if (cost > (kMaxTableCost - table_cost_) >> level)
        return false;
    table_cost_ += cost << level;
    return true;
}

/// Closes all tables; what follows is shown without.
void Writer::GiveUpTables() {
    auto const outermost =
        std::find_if(open_.begin(), open_.end(), [](Tag const *tag) { return tag->role == Role::Table; });
    PopTo(static_cast<size_t>(outermost - open_.begin()));
    tables_off_ = true;
}

void Writer::Text(std::string_view text) {
    bool const between_cells = Top() == Role::Table || Top() == Role::Row;
    if (text.empty() || ((between_cells || page_.html.empty()) && Trimmed(text).empty()))
        return;
    if (!tables_.empty() && !Afford(text.size()))
        GiveUpTables();
    EnsureCell();
    if (cut_)
        return;
    size_t end = std::min(text.size(), kMaxShownText - shown_);
    cut_ = end < text.size();
    while (cut_ && end > 0 && IsContinuation(text[end])) // not in the middle of a character
        --end;
    shown_ += end;
    AppendBroken(text.substr(0, end));
}

/// Appends text, with line breaks in words of inhuman length.
void Writer::AppendBroken(std::string_view text) {
    size_t start = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        if (IsBlank(text[i])) {
            unbroken_ = 0;
        } else if (!IsContinuation(text[i]) && unbroken_++ == kMaxUnbroken) {
            // Not within an entity.
            size_t const near = i - std::min<size_t>(i - start, 40);
            size_t const ampersand = text.substr(near, i - near).rfind('&');
            size_t const end = ampersand == std::string_view::npos ? i : near + ampersand;
            AppendText(page_.html, text.substr(start, end - start));
            page_.html += "<br>";
            start = end;
            unbroken_ = 1;
        }
    }
    AppendText(page_.html, text.substr(start));
}

/// Between the cells of a table nothing can be shown: opens a cell there.
void Writer::EnsureCell() {
    if (Top() == Role::Table || Top() == Role::Row)
        OpenCell(*FindTag("td"), {});
}

/// A paragraph ends where the next block begins.
void Writer::CloseParagraph() {
    size_t const paragraph =
        Find([](Tag const *tag) { return tag->role == Role::Paragraph; },
             [](Tag const *tag) { return tag->role != Role::Inline && tag->role != Role::Anchor; });
    if (paragraph != std::string_view::npos)
        PopTo(paragraph);
}

void Writer::Open(Tag const &tag, Attributes const &attributes) {
    if (elements_ >= kMaxElements || cut_) {
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
        if (tables_.empty() || dropped_[TagIndex(FindTag("table"))] > 0)
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
    if (open_.size() >= kMaxNesting || (in_line && inline_run_++ >= kMaxInlineRun)) {
        ++dropped_[TagIndex(&tag)];
        return;
    }
    if (tag.role != Role::Anchor)
        return Push(tag, attributes);

    std::string const address = LinkAddress(attributes[kHref]);
    if (address.empty() || !Spend(address.size()))
        return;
    page_.html += "<a href=\"";
    AppendAttribute(page_.html, address);
    page_.html += "\">";
    open_.push_back(&tag);
    ++elements_;
}

void Writer::Image(Attributes const &attributes) {
    if (image_tags_++ >= kMaxImageTags)
        return;
    std::string const decoded = DecodeAttribute(attributes[kSrc].substr(0, 600));
    std::string const name(Trimmed(decoded));
    unsigned const width = Pixels(Trimmed(attributes[kWidth]), 4000, 0);
    unsigned const height = Pixels(Trimmed(attributes[kHeight]), 4000, 0);
    ++elements_;
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
    if (list == std::string_view::npos || list_items_ >= kMaxListItems || open_.size() >= kMaxNesting) {
        ++dropped_[TagIndex(&tag)];
        page_.html += "<br>";
        ++elements_;
        return;
    }
    PopTo(list + 1);
    ++list_items_;
    Push(tag, {});
}

void Writer::OpenTable(Tag const &tag, Attributes const &attributes) {
    constexpr size_t kInside =
        6; // room for the row and cell around it, itself, its own row and cell, and a tag in that
    if (tables_off_ || tables_.size() >= kMaxTableNesting || open_.size() + kInside > kMaxNesting) {
        ++dropped_[TagIndex(&tag)];
        return;
    }
    EnsureCell();
    CloseParagraph();
    if (tables_off_) // opening a cell around it was too much
        return;
    Push(tag, attributes);
    tables_.push_back({});
}

void Writer::OpenRow(Tag const &tag, Attributes const &attributes) {
    PopTo(FindRole(Role::Table) + 1);
    Table &table = tables_.back();
    if (!Afford(std::max<size_t>(table.columns, 1) * kGridCellCost))
        return GiveUpTables();
    ++table.rows;
    table.cells = 0;
    Push(tag, attributes);
}

void Writer::OpenCell(Tag const &tag, Attributes const &attributes) {
    size_t const row = Find([](Tag const *open) { return open->role == Role::Row; },
                            [](Tag const *open) { return open->role == Role::Table; });
    if (row == std::string_view::npos)
        PopTo(FindRole(Role::Table) + 1);
    else
        PopTo(row + 1);
    if (row == std::string_view::npos || tables_.back().cells >= kMaxColumns)
        OpenRow(*FindTag("tr"), {});
    if (tables_off_)
        return;
    Table &table = tables_.back();
    if (++table.cells > table.columns) {
        if (!Afford(table.rows * kGridCellCost))
            return GiveUpTables();
        table.columns = table.cells;
    }
    Push(tag, attributes);
}

void Writer::CloseTablePart(Tag const &tag) {
    uint32_t &dropped_tables = dropped_[TagIndex(FindTag("table"))];
    if (tables_.empty() || dropped_tables > 0) {
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
    if (cut_)
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
