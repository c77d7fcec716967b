#include "qt/modules/module_loader.h"

#include "photon/PtWebClient.h"
#include "qt/modules/module_file.h"
#include "qt/views/image.h"
#include "qt/views/label.h"
#include "qt/views/marked_label.h"
#include "qt/views/tree_frame.h"
#include "qt/views/views.h"
#include "qt/web/web_browser.h"
#include "qt/web/web_view.h"

#include <QAbstractButton>
#include <QCheckBox>
#include <QComboBox>
#include <QCoreApplication>
#include <QFile>
#include <QFrame>
#include <QLineEdit>
#include <QMenuBar>
#include <QPlainTextEdit>
#include <QProgressBar>
#include <QRadioButton>
#include <QSpinBox>
#include <QSplitter>
#include <QTabWidget>
#include <QToolBar>
#include <QUiLoader>

#include <memory>

namespace {

class Loader final : public QUiLoader {
  public:
    QWidget *createWidget(QString const &type, QWidget *parent, QString const &name) override {
        QWidget *widget = Make(type, parent);
        if (!widget)
            return QUiLoader::createWidget(type, parent, name);
        widget->setObjectName(name);
        return widget;
    }

  private:
    static QWidget *Make(QString const &type, QWidget *parent) {
        if (type == QLatin1String("QLabel"))
            return new Label(parent);
        if (type == QLatin1String("QTreeView"))
            return new TreeFrame(parent);
        if (type == QLatin1String("PtWebClient"))
            return NewWebBrowser(parent);
        if (type == QLatin1String("PtTimer")) {
            auto *holder = new QWidget(parent);
            holder->setProperty("ptTimer", true);
            holder->hide();
            return holder;
        }
        return nullptr;
    }
};

/// As long as it lives no plugins are found.
class WithoutPlugins {
  public:
    WithoutPlugins() { QCoreApplication::setLibraryPaths({}); }
    ~WithoutPlugins() { QCoreApplication::setLibraryPaths(paths_); }
    WithoutPlugins(WithoutPlugins const &) = delete;
    WithoutPlugins &operator=(WithoutPlugins const &) = delete;

  private:
    QStringList const paths_ = QCoreApplication::libraryPaths();
};

/// A loader without Designer's plugins: their widgets occur in no module, and one of them brings all of Qt Quick
/// along.
std::unique_ptr<Loader> MakeLoader() {
    WithoutPlugins const without;
    return std::make_unique<Loader>();
}

/// Fills a module's list, parents before their children.
class Lister {
  public:
    explicit Lister(std::vector<PtModuleWidget> &widgets) : widgets_(widgets) {}

    void Add(QObject *object, int parent) {
        PtWidgetClassRef_t const widget_class = ClassOf(object, parent);
        if (widget_class) {
            widgets_.push_back({object->objectName().toStdString(), widget_class, parent, {}, 0, object});
            ReadInitial(object);
            parent = static_cast<int>(widgets_.size()) - 1;
        }
        if (auto *menu = qobject_cast<QMenu *>(object))
            return AddActions(menu->actions(), parent);
        if (auto *bar = qobject_cast<QMenuBar *>(object))
            return AddActions(bar->actions(), parent);
        if (widget_class && !widget_class->is_container)
            return; // what it is made of is its own
        for (QObject *child : object->children())
            if (child->isWidgetType() && !qobject_cast<QMenu *>(child))
                Add(child, parent);
    }

  private:
    void AddActions(QList<QAction *> const &actions, int parent) {
        for (QAction *action : actions)
            if (action->menu())
                Add(action->menu(), parent);
            else if (!action->isSeparator())
                Add(action, parent);
    }

    /// Null for what has no counterpart: unnamed and Qt's own parts.
    static PtWidgetClassRef_t ClassOf(QObject *object, int parent) {
        QString const name = object->objectName();
        if (parent >= 0 && (name.isEmpty() || name.startsWith(QLatin1String("qt_"))))
            return nullptr;
        if (qobject_cast<QAction *>(object))
            return PtMenuButton;
        if (qobject_cast<QMenu *>(object))
            return PtMenu;
        if (qobject_cast<QMenuBar *>(object))
            return PtMenuBar;
        if (parent < 0)
            return PtWindow;
        if (dynamic_cast<WebBrowser *>(object))
            return PtWebClient;
        if (object->property("ptTimer").toBool())
            return PtTimer;
        if (dynamic_cast<TreeFrame *>(object))
            return PtTree;
        if (qobject_cast<QCheckBox *>(object) || qobject_cast<QRadioButton *>(object))
            return PtToggleButton;
        if (qobject_cast<QAbstractButton *>(object))
            return PtButton;
        if (dynamic_cast<Label *>(object))
            return PtLabel;
        if (qobject_cast<QLineEdit *>(object))
            return PtText;
        if (qobject_cast<QPlainTextEdit *>(object))
            return PtMultiText;
        if (qobject_cast<QComboBox *>(object))
            return PtComboBox;
        if (qobject_cast<QSpinBox *>(object))
            return PtNumericInteger;
        if (qobject_cast<QProgressBar *>(object))
            return PtProgress;
        if (qobject_cast<QToolBar *>(object))
            return PtToolbar;
        if (auto const *frame = qobject_cast<QFrame *>(object);
            frame && (frame->frameShape() == QFrame::HLine || frame->frameShape() == QFrame::VLine))
            return PtSeparator;
        return PtPane;
    }

    void Text(long resource, QString const &text) {
        if (!text.isEmpty())
            widgets_.back().initial.push_back({resource, 0, 0, text.toStdString()});
    }
    void Number(long resource, long value) { widgets_.back().initial.push_back({resource, value, 0, {}}); }

    void ReadInitial(QObject *object) {
        if (auto *action = qobject_cast<QAction *>(object)) {
            Text(Pt_ARG_TEXT_STRING, PlainLabel(action->text()));
            widgets_.back().flags = action->isChecked() ? Pt_SET : 0;
        } else if (auto *button = qobject_cast<QAbstractButton *>(object)) {
            Text(Pt_ARG_TEXT_STRING, PlainLabel(button->text()));
            widgets_.back().flags = button->isChecked() ? Pt_SET : 0;
        } else if (auto *label = dynamic_cast<Label *>(object)) {
            Text(Pt_ARG_TEXT_STRING, label->buddy() ? PlainLabel(label->text()) : label->text());
        } else if (auto *field = qobject_cast<QLineEdit *>(object)) {
            Text(Pt_ARG_TEXT_STRING, field->text());
            Number(Pt_ARG_MAX_LENGTH, field->maxLength());
            if (field->isReadOnly())
                Number(Pt_ARG_TEXT_FLAGS, 0);
        } else if (auto *editor = qobject_cast<QPlainTextEdit *>(object)) {
            Text(Pt_ARG_TEXT_STRING, editor->toPlainText());
            if (editor->isReadOnly())
                Number(Pt_ARG_TEXT_FLAGS, 0);
        } else if (auto *box = qobject_cast<QSpinBox *>(object)) {
            Number(Pt_ARG_NUMERIC_MIN, box->minimum());
            Number(Pt_ARG_NUMERIC_MAX, box->maximum());
            Number(Pt_ARG_NUMERIC_VALUE, box->value());
        } else if (auto *bar = qobject_cast<QProgressBar *>(object)) {
            Number(Pt_ARG_GAUGE_VALUE, std::max(bar->minimum(), bar->value()));
        } else if (auto *combo = qobject_cast<QComboBox *>(object)) {
            ReadCombo(*combo);
        } else if (object->property("ptTimer").toBool()) {
            Number(Pt_ARG_TIMER_REPEAT, object->property("repeat").toInt());
            Number(Pt_ARG_TIMER_INITIAL, object->property("initial").toInt());
        } else if (widgets_.back().widget_class == PtWindow) {
            Text(Pt_ARG_WINDOW_TITLE, static_cast<QWidget *>(object)->windowTitle());
        }
        if (auto *widget = qobject_cast<QWidget *>(object); widget && !widget->isEnabled())
            widgets_.back().flags |= Pt_GHOST;
    }

    void ReadCombo(QComboBox &combo) {
        QStringList items;
        for (int i = 0; i < combo.count(); i++)
            items << combo.itemText(i);
        if (!combo.isEditable())
            Number(Pt_ARG_TEXT_FLAGS, 0);
        Text(Pt_ARG_ITEMS, items.join(QLatin1Char('\n')));
        Number(Pt_ARG_CBOX_SEL_ITEM, combo.currentIndex() + 1);
    }

    std::vector<PtModuleWidget> &widgets_;
};

/// Labels' pictures again, this time at the screen's scale.
void SharpenPictures(std::string const &module, QWidget &root) {
    for (auto const &[name, path] : ReadModuleFile(module).pictures) {
        auto *label = dynamic_cast<Label *>(root.findChild<QLabel *>(QString::fromStdString(name)));
        if (!label || label->pixmap().isNull())
            continue;
        PhImage image{path, {}, {}};
        label->setPixmap(PixmapFor(image, *label));
    }
}

/// Designer cannot keep a splitter's places, so the module files do in a property of their own: `sizes`, in pixels.
void PlaceSplitters(QWidget &root) {
    for (QSplitter *splitter : root.findChildren<QSplitter *>()) {
        QList<int> sizes;
        for (QString const &size : splitter->property("sizes").toStringList())
            sizes << size.toInt();
        if (!sizes.isEmpty())
            splitter->setSizes(sizes);
    }
}

/// What the module file hides stays hidden when its window is shown.
void KeepHidden(QObject *native) {
    auto *widget = qobject_cast<QWidget *>(native);
    if (widget && !widget->isWindow() && widget->isHidden() && widget->testAttribute(Qt::WA_WState_ExplicitShowHide))
        widget->setProperty("keptHidden", true);
}

} // namespace

bool LoadModule(std::string const &module, PtModuleInstance &instance) {
    QFile file(ModulePath(module));
    if (!file.open(QIODevice::ReadOnly))
        return false;
    std::unique_ptr<Loader> const loader = MakeLoader();
    QWidget *root = loader->load(&file);
    if (!root) {
        fprintf(stderr, "module %s: %s\n", module.c_str(), qUtf8Printable(loader->errorString()));
        return false;
    }
    SharpenPictures(module, *root);
    PlaceSplitters(*root);
    instance.native = root;
    instance.widgets.clear();
    Lister(instance.widgets).Add(root, -1);
    return true;
}

void BindModule(PtModuleInstance &instance, std::vector<PtWidget_t *> const &widgets) {
    for (size_t i = 0; i < widgets.size() && i < instance.widgets.size(); i++) {
        PtWidget_t *widget = widgets[i];
        auto *native = static_cast<QObject *>(instance.widgets[i].native);
        if (!widget || !native)
            continue;
        KeepHidden(native);
        // A menu inside another or in a bar is there with its window; only one that stands alone waits to be opened.
        if (i > 0 && PtClassIsA(widget->widget_class, PtMenu))
            PtStoreFlags(*widget, 0, Pt_DELAY_REALIZE);
        widget->view = MakeView(*widget, native, true);
    }
    instance.native = nullptr;
}
