#include "qt/module_file.h"

#include <QFile>
#include <QXmlStreamReader>

QString ModulePath(std::string const &module) {
    return QLatin1String(":/modules/") + QString::fromStdString(module) + QLatin1String(".ui");
}

ModuleFile ReadModuleFile(std::string const &module) {
    ModuleFile result;
    QFile file(ModulePath(module));
    if (!file.open(QIODevice::ReadOnly))
        return result;
    QXmlStreamReader xml(&file);
    std::vector<std::string> open; // names of the widgets and actions around the current place
    bool in_picture = false;
    while (!xml.atEnd()) {
        auto const token = xml.readNext();
        auto const tag = xml.name();
        bool const named = tag == QLatin1String("widget") || tag == QLatin1String("action");
        if (token == QXmlStreamReader::StartElement) {
            if (named) {
                open.push_back(xml.attributes().value(QLatin1String("name")).toString().toStdString());
                if (!open.back().empty())
                    result.names.push_back(open.back());
            } else if (tag == QLatin1String("property")) {
                auto const property = xml.attributes().value(QLatin1String("name"));
                in_picture = property == QLatin1String("pixmap") || property == QLatin1String("icon");
            }
        } else if (token == QXmlStreamReader::EndElement) {
            if (named && !open.empty())
                open.pop_back();
            else if (tag == QLatin1String("property"))
                in_picture = false;
        } else if (token == QXmlStreamReader::Characters && in_picture && !open.empty()) {
            QString const path = xml.text().trimmed().toString();
            if (!path.isEmpty())
                result.pictures.try_emplace(open.back(), path);
        }
    }
    return result;
}
