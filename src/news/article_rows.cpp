#include "news/article_rows.h"

#include "base/text.h"
#include "names/widgets.h"
#include "news/thread_tree.h"
#include "widgets/toolkit.h"

#include <algorithm>
#include <cstdlib>
#include <memory>

namespace {

using Data = std::unique_ptr<ArticleRow, void (*)(void *)>;

constexpr char kNoRecord[] = "Could not allocate memory for message header data";
constexpr char kNoRow[] = "Could not allocate memory for message header";

/// The rows of the header list by their Message-IDs. Never destroyed: a worker may still look at it while the program
/// ends.
struct KnownRows {
    ThreadTree tree;
    unsigned age = 0; ///< of the list that they belong to
};
KnownRows &Known() {
    union Storage {
        KnownRows rows;
        Storage() : rows() {}
        ~Storage() {}
    };
    static Storage storage;
    return storage.rows;
}

bool Fail(char const *message) {
    ShowError(ABW_base, "Error", message);
    return false;
}

Data MakeData(OverviewLine const &article, int32_t number) {
    size_t const size = offsetof(ArticleRow, references) + article.references.size() + 1;
    Data data(static_cast<ArticleRow *>(calloc(1, std::max(size, sizeof(ArticleRow)))), free);
    if (!data)
        return data;
    data->header = MakeHeaderRow(kArticle, number);
    CopyText(data->messageId, article.messageId);
    char *const references = reinterpret_cast<char *>(data.get()) + offsetof(ArticleRow, references);
    CopyText(references, article.references.size() + 1, article.references);
    return data;
}

/// The row that `article` answers; null when it starts a thread.
ThreadedRow *ParentRow(OverviewLine const &article) {
    std::string_view const parent = ParentOf(article.references);
    char key[sizeof ArticleRow::messageId]; // rows know Message-IDs as far as their field goes
    return CopyText(key, parent) > 0 ? Known().tree.Find(key) : nullptr;
}

PtTreeItem_t *AddAnswer(PtWidget_t *list, char const *text, ThreadedRow &parent) {
    PtTreeItem_t *const item = PtTreeAllocItem(list, text, -1, -1);
    if (!item)
        return nullptr;
    if (parent.lastChild)
        PtTreeAddAfter(list, item, parent.lastChild);
    else
        PtTreeAddFirst(list, item, parent.item);
    parent.lastChild = item;
    return item;
}

} // namespace

void BeginArticleRows() {
    if (Known().age == headerListAge)
        return;
    Known().tree.Clear();
    Known().age = headerListAge;
}

bool AddArticleRow(PtWidget_t *list, OverviewLine const &article, int32_t number) {
    Data data = MakeData(article, number);
    if (!data)
        return Fail(kNoRecord);
    char text[kOverviewWidth + 1];
    CopyText(text, article.row);
    ThreadedRow *const parent = ParentRow(article);
    PtTreeItem_t *const item = parent ? AddAnswer(list, text, *parent) : AddHeaderItem(text, list, lastHeaderItem);
    if (!item)
        return Fail(kNoRow);
    item->data = data.get();
    char const *const messageId = data.release()->messageId; // the row's from here on
    // kept: an article whose references name nothing is no parent, either.
    bool const strangeReferences = !article.references.empty() && ParentOf(article.references).empty();
    return strangeReferences || Known().tree.Insert(messageId, item) || Fail(kNoRow);
}
