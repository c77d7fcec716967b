#include "qt/views/geometry.h"

#include "qt/views/view.h"

#include <QLayout>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cstring>

namespace {

template <class T> T Structure(PtWidget &widget, long resource) {
    T result{};
    PtValue const *value = PtValueOf(widget, resource);
    if (value && value->bytes.size() >= sizeof result)
        memcpy(&result, value->bytes.data(), sizeof result);
    return result;
}

bool InLayout(QWidget const &native) {
    QWidget const *parent = native.parentWidget();
    return parent && parent->layout() && parent->layout()->indexOf(const_cast<QWidget *>(&native)) >= 0;
}

} // namespace

void PlaceInParent(PtWidget &widget, QWidget &native) {
    if (native.isWindow() || InLayout(native))
        return;
    auto const area = Structure<PhArea_t>(widget, Pt_ARG_AREA);
    QSize const hint = native.sizeHint();
    native.setGeometry(area.pos.x, area.pos.y, area.size.w ? area.size.w : hint.width(),
                       area.size.h ? area.size.h : hint.height());
    auto const room = widget.parent ? Structure<PhDim_t>(*widget.parent, Pt_ARG_DIM) : PhDim_t{};
    if (View *view = View::Of(widget); view && room.w && room.h)
        view->anchored = {native.geometry(), native.geometry(), {room.w, room.h}};
}

void FollowParent(PtWidget &parent, QSize before, QSize now) {
    for (PtWidget *child : parent.children) {
        QWidget *native = NativeWidget(child);
        long const anchors = StoredNumber(*child, Pt_ARG_ANCHOR_FLAGS);
        if (!native || anchors == 0 || native->isWindow() || InLayout(*native))
            continue;
        if (child->dirty & kDirtyGeometry) // not yet where it belongs
            continue;
        View::Anchored &start = View::Of(*child)->anchored;
        if (!start.parent.isValid() || native->geometry() != start.last)
            start = {native->geometry(), {}, before};
        if (!start.parent.isValid())
            continue; // it was never placed, nor its parent shown
        int const dx = now.width() - start.parent.width();
        int const dy = now.height() - start.parent.height();
        QRect place = start.place;
        place.adjust(anchors & Pt_LEFT_ANCHORED_RIGHT ? dx : 0, anchors & Pt_TOP_ANCHORED_BOTTOM ? dy : 0,
                     anchors & Pt_RIGHT_ANCHORED_RIGHT ? dx : 0, anchors & Pt_BOTTOM_ANCHORED_BOTTOM ? dy : 0);
        native->setGeometry(place.x(), place.y(), std::max(0, place.width()), std::max(0, place.height()));
        start.last = native->geometry();
        PhArea_t const area = {{static_cast<short>(place.x()), static_cast<short>(place.y())},
                               {static_cast<unsigned short>(std::max(0, place.width())),
                                static_cast<unsigned short>(std::max(0, place.height()))}};
        PtStoreArea(*child, area);
    }
}

int OptionLength(std::string const &text, int whole, int fallback) {
    int number = 0;
    auto const [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc())
        return fallback;
    bool const percent = end != text.data() + text.size() && *end == '%';
    long const length = percent ? static_cast<long>(whole) * number / 100 : number;
    return static_cast<int>(std::clamp(length, long{SHRT_MIN}, long{SHRT_MAX})); // what a window system counts in
}

QRect FitInto(QRect window, QRect screen) {
    window.setSize(window.size().boundedTo(screen.size()));
    window.moveLeft(std::clamp(window.left(), screen.left(), screen.right() - window.width() + 1));
    window.moveTop(std::clamp(window.top(), screen.top(), screen.bottom() - window.height() + 1));
    return window;
}
