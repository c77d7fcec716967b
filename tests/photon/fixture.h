#pragma once
// A window from modules/testwin.ui with what the tests of the toolkit share.

#include "Ap.h"
#include "qt/loop/testing.h"
#include "qt/views/tree_frame.h"

#include <QTest>
#include <gtest/gtest.h>

#include <string>
#include <vector>

/// The widget of a name in a widget's subtree, null for none.
inline PtWidget_t *Find(PtWidget_t *root, char const *name) {
    if (!root || root->name == name)
        return root;
    for (PtWidget_t *child : root->children)
        if (PtWidget_t *found = Find(child, name))
            return found;
    return nullptr;
}

/// The value of a scalar or structure.
template <class T> T Number(PtWidget_t *widget, long resource) {
    T const *value = nullptr;
    EXPECT_EQ(PtGetResource(widget, resource, &value, 0), 0);
    return value ? *value : T{};
}

inline std::string TextOf(PtWidget_t *widget) {
    char const *text = nullptr;
    EXPECT_EQ(PtGetResource(widget, Pt_ARG_TEXT_STRING, &text, 0), 0);
    return text ? text : "(null)";
}

inline void SetText(PtWidget_t *widget, std::string const &text) {
    PtSetResource(widget, Pt_ARG_TEXT_STRING, text.c_str(), 0);
}

/// What a callback was told.
struct Told {
    unsigned long reason, subtype, event;
    int clicks;
    void *item;
};

/// Callback that appends to the std::vector<Told> in `data`.
inline int Note(PtWidget_t *, void *data, PtCallbackInfo_t *info) {
    Told told{info->reason, info->reason_subtype, info->event ? info->event->type : 0, -1, nullptr};
    if (info->reason == Pt_CB_TREE_SELECTION) {
        auto const *tree = static_cast<PtTreeCallback_t *>(info->cbdata);
        told.clicks = tree->click_count;
        told.item = tree->item;
    }
    static_cast<std::vector<Told> *>(data)->push_back(told);
    return Pt_CONTINUE;
}

/// The GUI thread holds the lock throughout, as the program's callbacks do. No widget outlives its test.
class ToolkitTest : public testing::Test {
  protected:
    void TearDown() override {
        while (!PtTopLevels().empty())
            PtDestroyWidget(PtTopLevels().front());
        PtSetParentWidget(nullptr);
        ProcessEventsFor(10);
    }
};

/// Opens the test window.
class WindowTest : public ToolkitTest {
  protected:
    void SetUp() override {
        window_ = ApLinkWindow(nullptr, &link_, nullptr);
        ASSERT_TRUE(window_);
        ASSERT_TRUE(ProcessEventsUntil([this] {
            auto *native = Native<QWidget>(window_);
            return native && native->isVisible();
        }));
        ProcessEventsFor(20);
    }

    PtWidget_t *W(char const *name) { return Find(window_, name); }
    template <class Widget> Widget *N(char const *name) { return Native<Widget>(W(name)); }

    void Click(QWidget *native) {
        WithoutLock([&] { QTest::mouseClick(native, Qt::LeftButton); });
    }
    void Type(QWidget *native, char const *text) {
        WithoutLock([&] {
            for (QChar const character : QString::fromUtf8(text))
                QTest::sendKeyEvent(QTest::Click, native, Qt::Key_unknown, QString(character), Qt::NoModifier);
        });
    }
    void Key(QWidget *native, Qt::Key key, Qt::KeyboardModifiers mods = Qt::NoModifier) {
        WithoutLock([&] { QTest::keyClick(native, key, mods); });
    }
    /// Brings all views up to date.
    void Sync() { ProcessEventsFor(2); }

    ApEventLink_t link_{"testwin", ApWindow};
    PtWidget_t *window_ = nullptr;
};

/// The test window's tree.
class TreeTest : public WindowTest {
  protected:
    void SetUp() override {
        WindowTest::SetUp();
        tree_ = W("treeOne");
        frame_ = dynamic_cast<TreeFrame *>(N<QWidget>("treeOne"));
        ASSERT_TRUE(frame_);
    }

    /// Adds a row after `last`, or as the first one below `parent` when there is none.
    PtTreeItem_t *Append(std::string const &text, PtTreeItem_t *parent, PtTreeItem_t *last, bool open = false) {
        PtTreeItem_t *item = PtTreeAllocItem(tree_, text.c_str(), -1, -1);
        if (open)
            item->gen.list.flags |= Pt_TREE_ITEM_EXPANDABLE | Pt_TREE_ITEM_EXPANDED;
        EXPECT_EQ(last ? PtTreeAddAfter(tree_, item, last) : PtTreeAddFirst(tree_, item, parent), 0);
        return item;
    }

    /// Brings the view up to date; on a slow machine its budget puts rows off.
    void Sync() {
        EXPECT_TRUE(ProcessEventsUntil([this] { return !tree_->dirty && !frame_->model_->Behind(*tree_->tree); }));
        WindowTest::Sync();
    }

    PtWidget_t *tree_ = nullptr;
    TreeFrame *frame_ = nullptr;
};
