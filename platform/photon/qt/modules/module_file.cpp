#include "qt/modules/module_file.h"

#include <QFile>

#include <string_view>

namespace {

/// The value of an attribute inside a tag, "" without one.
std::string_view Attribute(std::string_view tag, std::string_view key) {
    size_t const at = tag.find(key);
    if (at == std::string_view::npos)
        return {};
    std::string_view const value = tag.substr(at + key.size());
    return value.substr(0, value.find('"'));
}

std::string_view Trimmed(std::string_view text) {
    constexpr std::string_view kBlank = " \t\r\n";
    size_t const first = text.find_first_not_of(kBlank);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(kBlank) + 1 - first);
}

/// Goes through a module file tag by tag. The files are the program's own and are read at each start, all of them:
/// an XML reader takes longer for that than making the window does.
class Scan {
  public:
    explicit Scan(ModuleFile &result) : result_(result) {}

    void Tag(std::string_view tag) {
        bool const ends = tag.starts_with('/');
        std::string_view const name = tag.substr(ends, tag.find_first_of(" \t\r\n/", ends) - ends);
        if (name == "widget" || name == "action")
            Named(tag, ends);
        else if (name == "property")
            in_picture_ = tag == "property name=\"pixmap\"" || tag == "property name=\"icon\"";
    }

    void Text(std::string_view text) {
        if (!in_picture_ || open_.empty())
            return;
        text = Trimmed(text);
        if (!text.empty())
            result_.pictures.try_emplace(open_.back(),
                                         QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    }

  private:
    void Named(std::string_view tag, bool ends) {
        if (ends) {
            if (!open_.empty())
                open_.pop_back();
            return;
        }
        std::string const name(Attribute(tag, " name=\""));
        if (!name.empty())
            result_.names.push_back(name);
        if (!tag.ends_with('/'))
            open_.push_back(name);
    }

    ModuleFile &result_;
    std::vector<std::string> open_; ///< names of the widgets and actions around the current place
    bool in_picture_ = false;
};

} // namespace

QString ModulePath(std::string const &module) {
    return QLatin1String(":/modules/") + QString::fromStdString(module) + QLatin1String(".ui");
}

ModuleFile ReadModuleFile(std::string const &module) {
    ModuleFile result;
    QFile file(ModulePath(module));
    if (!file.open(QIODevice::ReadOnly))
        return result;
    QByteArray const bytes = file.readAll();
    std::string_view left(bytes.data(), static_cast<size_t>(bytes.size()));
    Scan scan(result);
    for (size_t start; (start = left.find('<')) != left.npos;) {
        scan.Text(left.substr(0, start));
        bool const comment = left.substr(start).starts_with("<!--");
        std::string_view const close = comment ? "-->" : ">";
        size_t const end = left.find(close, start);
        if (end == left.npos)
            break;
        if (!comment)
            scan.Tag(left.substr(start + 1, end - start - 1));
        left.remove_prefix(end + close.size());
    }
    return result;
}
