// sources: src/news/session/overview.cpp
// Pieces of an overview line lie inside the line and hold nothing that would end a protocol line or a field.

#include "fuzz_input.h"

#include "news/session/overview.h"

namespace {

void RequireInside(std::string_view piece, std::string const &line) {
    Require(piece.empty() ||
            (piece.data() >= line.data() && piece.data() + piece.size() <= line.data() + line.size()));
    Require(piece.find('\r') == std::string_view::npos && piece.find('\0') == std::string_view::npos);
}

} // namespace

FUZZ(overview) {
    std::string line(reinterpret_cast<char const *>(data), size);
    line.shrink_to_fit();
    OverviewLine const article = ParseOverviewLine(line);
    for (std::string_view const piece : {article.row, article.messageId, article.references})
        RequireInside(piece, line);
    Require(article.row.size() <= kOverviewWidth);
    Require(article.messageId.find('\t') == std::string_view::npos);
    Require(article.references.find('\t') == std::string_view::npos);
    Require(article.messageId.empty() || article.row.find(article.messageId) != std::string_view::npos);
    std::string_view const parent = ParentOf(article.references);
    Require(parent.empty() ? article.references.find('<') == std::string_view::npos
                           : article.references.ends_with(parent) && parent.rfind('<') == 0);
}
