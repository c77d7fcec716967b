#include "app/folder_rows.h"

#include "base/paths.h"
#include "base/thread.h"
#include "names/widgets.h"
#include "store/convert.h"
#include "store/folder.h"
#include "widgets/header_list.h"
#include "widgets/open_profile.h"
#include "widgets/toolkit.h"

#include <string>
#include <string_view>
#include <sys/stat.h>
#include <vector>

namespace {

constexpr char kReading[] = "Reading a large folder";
constexpr long kLargeIndex = 256 << 20; ///< 1.3 million records: more of them would keep the window waiting

void AddRow(IndexRecord const &record) {
    AddHeaderRow(record.row, kRowWidth, kStored, record.number, ABW_treeMessageHeaders, lastHeaderItem);
}

bool IsLarge(std::string const &path) {
    struct stat status {};
    return stat((path + "index2").c_str(), &status) == 0 && status.st_size > kLargeIndex;
}

/// A worker's part: it adds what was read between two pieces of the index.
class LargeFolder {
  public:
    /// Under the library lock.
    explicit LargeFolder(std::string path) : path_(std::move(path)), profile_(currentProfile), age_(headerListAge) {}

    void Read() {
        ReadFolderIndex(
            path_.c_str(), [this](IndexRecord const &record) { read_.push_back(record); },
            [this] { return AddRead(); });
        ToolkitGuard const guard;
        if (WidgetText(ABW_lblStatus) == std::string_view(kReading))
            SetStatus("");
    }

  private:
    /// False when the list shows something else by now.
    bool AddRead() {
        if (read_.empty())
            return true;
        ToolkitGuard const guard;
        if (!ABW_treeMessageHeaders || headerListAge != age_ || currentProfile.Get() != profile_.Get())
            return false;
        for (IndexRecord const &record : read_)
            AddRow(record);
        read_.clear();
        return true;
    }

    std::string path_;
    AccountRef<ServerAccount> profile_;
    unsigned age_;
    std::vector<IndexRecord> read_;
};

bool AddRows(std::string const &path) {
    if (IsLarge(path) && StartDetached([folder = LargeFolder(path)]() mutable { folder.Read(); })) {
        SetStatus(kReading);
        return true;
    }
    return ReadFolderIndex(path.c_str(), AddRow);
}

} // namespace

bool AddFolderRows(char const *profile, char const *folder) {
    std::string const path = FolderDirectory(profile, folder);
    if (AddRows(path))
        return true;
    SetStatus("Converting Mailbox Format");
    PtFlush();
    ConvertFolderIndex(profile, folder);
    SetStatus("Finished Conversion");
    return AddRows(path);
}
