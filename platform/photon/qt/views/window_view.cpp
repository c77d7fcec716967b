#include "qt/views/window_view.h"

#include "Ap.h"
#include "qt/loop/application.h"
#include "qt/loop/display.h"
#include "qt/views/geometry.h"
#include "qt/views/text_codec.h"
#include "qt/views/views.h"

#include <QCloseEvent>
#include <QCursor>
#include <QDialog>
#include <QKeyEvent>
#include <QLayout>
#include <QResizeEvent>
#include <QScreen>
#include <QWindow>

#include <cstring>

namespace {

/// The oldest window that is shown: what dialogs stay in front of and are centred on.
QWidget *MainWindow(QWidget const *except) {
    for (PtWidget const *top : PtTopLevels()) {
        QWidget *native = top->widget_class->is_window ? NativeWidget(top) : nullptr;
        if (native && native != except && native->isVisible())
            return native;
    }
    return nullptr;
}

/// Takes parts off that are not to be seen any more, so that the window need not keep their room.
void HideParts(PtWidget const &container) {
    for (PtWidget *part : container.children) {
        if (part->widget_class->is_window)
            continue;
        HideParts(*part);
        if ((part->dirty & kDirtyRealize) && !(part->flags & Pt_REALIZED))
            PtSyncWidget(*part);
    }
}

} // namespace

WindowView::WindowView(PtWidget &widget, QWidget *window, bool owned)
    : View(widget, window, owned), window_(window), location_(ApLocCentered) {
    window->installEventFilter(this);
}

void WindowView::Place(unsigned short location, QPoint offset, PtWidget *relative) {
    location_ = location;
    offset_ = offset;
    relative_ = NativeWidget(relative);
}

void WindowView::MakeModal() {
    // The window system takes the modality of a window that is shown again.
    bool const visible = window_->isVisible();
    if (visible)
        window_->hide();
    window_->setWindowModality(Qt::ApplicationModal);
    if (visible)
        window_->show();
}

void WindowView::Apply(PtWidget &widget, long resource) {
    if (resource == Pt_ARG_WINDOW_TITLE)
        window_->setWindowTitle(ShownText(StoredText(widget, resource), TextShape::Row));
    else
        View::Apply(widget, resource);
}

void WindowView::ApplyGeometry(PtWidget &widget) {
    PhDim_t size{};
    PtValue const *value = PtValueOf(widget, Pt_ARG_DIM);
    if (value && value->bytes.size() >= sizeof size)
        memcpy(&size, value->bytes.data(), sizeof size);
    HideParts(widget);
    if (QLayout *layout = window_->layout())
        layout->activate();
    if (size.w && size.h)
        window_->resize(size.w, size.h);
    StoreArea();
}

void WindowView::ApplyRealize(PtWidget &widget) {
    bool const realized = widget.flags & Pt_REALIZED;
    if (!realized)
        window_->hide();
    else if (!shown_)
        ShowFirst();
    else
        window_->show();
}

void WindowView::ShowFirst() {
    shown_ = true;
    QWidget *main = MainWindow(window_);
    StandardOptions const options = main ? StandardOptions{} : QtDisplay::The().TakeStandardOptions();
    QScreen *screen = main ? main->screen() : QGuiApplication::primaryScreen();
    QRect const room = screen ? screen->availableGeometry() : QRect(0, 0, 800, 600);
    QSize size = window_->testAttribute(Qt::WA_Resized) ? window_->size() : window_->sizeHint();
    size = QSize(OptionLength(options.w, room.width(), size.width()),
                 OptionLength(options.h, room.height(), size.height()));
    QRect place(QPoint(), size.expandedTo(window_->minimumSize()));
    switch (location_) {
    case ApLocRelativeWidget:
        place.moveTopLeft((relative_ ? relative_->mapToGlobal(QPoint(0, 0)) : room.topLeft()) + offset_);
        break;
    case ApLocPointer:
        place.moveTopLeft(QCursor::pos() + offset_);
        break;
    case ApLocAbsolute:
        place.moveTopLeft(room.topLeft() + offset_);
        break;
    default:
        place.moveCenter((main ? main->geometry() : room).center());
        place.translate(offset_);
        break;
    }
    place.moveLeft(OptionLength(options.x, room.width(), place.left() - room.left()) + room.left());
    place.moveTop(OptionLength(options.y, room.height(), place.top() - room.top()) + room.top());
    window_->setGeometry(FitInto(place, room));
    if (main) {
        window_->winId(); // makes the system's window, which alone can belong to another
        if (window_->windowHandle())
            window_->windowHandle()->setTransientParent(main->windowHandle());
    }
    if (options.state == 'i')
        window_->showMinimized();
    else if (options.state == 'm')
        window_->showMaximized();
    else
        window_->show();
}

void WindowView::StoreArea() {
    auto const coordinate = [](int value) { return static_cast<short>(std::clamp(value, SHRT_MIN, SHRT_MAX)); };
    auto const length = [](int value) { return static_cast<unsigned short>(std::clamp(value, 0, USHRT_MAX)); };
    QRect const place = window_->geometry();
    PtStoreArea(*widget(),
                {{coordinate(place.x()), coordinate(place.y())}, {length(place.width()), length(place.height())}});
}

bool WindowView::eventFilter(QObject *object, QEvent *event) {
    if (object != window_ || !widget())
        return View::eventFilter(object, event);
    switch (event->type()) {
    case QEvent::Close:
        event->ignore();
        Closed();
        return true;
    case QEvent::KeyPress:
        // Escape would hide a dialog without its callbacks.
        if (static_cast<QKeyEvent *>(event)->key() == Qt::Key_Escape && qobject_cast<QDialog *>(window_)) {
            Closed();
            return true;
        }
        break;
    case QEvent::Resize:
        FollowParent(*widget(), static_cast<QResizeEvent *>(event)->oldSize(),
                     static_cast<QResizeEvent *>(event)->size());
        [[fallthrough]];
    case QEvent::Move:
        // A size that the program wants comes first: a part that appears may have stretched the window before it.
        if (!(widget()->dirty & kDirtyGeometry))
            StoreArea();
        break;
    default:
        break;
    }
    return View::eventFilter(object, event);
}

void WindowView::Closed() {
    // A blocked window stays, as all of its controls do.
    if (!widget() || PtIsBlocked(*widget()))
        return;
    long const managed = StoredNumber(*widget(), Pt_ARG_WINDOW_MANAGED_FLAGS);
    long const told = StoredNumber(*widget(), Pt_ARG_WINDOW_NOTIFY_FLAGS);
    if (told & Ph_WM_CLOSE) {
        PhWindowEvent_t data{Ph_WM_CLOSE, 0};
        Call(Pt_CB_WINDOW, 0, &data);
        if (!(managed & Ph_WM_CLOSE))
            return;
    }
    if (widget())
        PtDestroyWidget(widget());
}

std::unique_ptr<PtView> MakeWindowView(PtWidget &widget, QObject *native, bool owned) {
    return std::make_unique<WindowView>(widget, static_cast<QWidget *>(native), owned);
}
