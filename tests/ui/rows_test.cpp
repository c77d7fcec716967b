// What the lists show beside their texts: pictures, room for a row, and which row is chosen after one has gone.

#include "fixtures/dovecot_server.h"
#include "fixtures/temp_home.h"
#include "ui/person.h"
#include "ui/sample.h"

#include <QHeaderView>
#include <QIcon>
#include <QTreeView>

#include <gtest/gtest.h>

namespace {

QTreeView *List(char const *name) { return qobject_cast<QTreeView *>(Find(name)); }

/// The subject of the row that is current and selected; "" when those are not one and the same row.
QString Chosen() {
    QTreeView *const list = List("treeMessageHeaders");
    QModelIndexList const selected = list->selectionModel()->selectedRows();
    if (selected.size() != 1 || selected.first().row() != list->currentIndex().row())
        return {};
    return selected.first().siblingAtColumn(1).data().toString().trimmed();
}

template <class Base> class WithMail : public Base {
  protected:
    void SetUp() override {
        ClearTempHome();
        ASSERT_GT(server.Port(), 0);
        for (char const *subject : {"alpha", "beta", "gamma", "delta"})
            server.Put("alice", PlainMail(subject));
    }
    DovecotServer server;
};
class TheRows : public WithMail<testing::TestWithParam<bool>> {};
class TheLook : public WithMail<testing::Test> {};

TEST_P(TheRows, AnotherRowIsChosenWhereOneWasRemoved) {
    MakeProfile(server.Address(), GetParam());
    Sitting([&] {
        OpenInbox();
        ASSERT_EQ(Subjects(), (QStringList{"alpha", "beta", "gamma", "delta"}));
        ClickRow("treeMessageHeaders", "beta");
        ASSERT_TRUE(WaitFor([] { return Text("webEmailMessage").contains("The text of beta."); }));
        Press("treeMessageHeaders", Qt::Key_Delete);
        EXPECT_EQ(Subjects(), (QStringList{"alpha", "gamma", "delta"}));
        EXPECT_EQ(Chosen(), "gamma") << "the next one";
        EXPECT_TRUE(Text("webEmailMessage").contains("The text of beta.")) << "which nobody has opened";
        Press("treeMessageHeaders", Qt::Key_Delete);
        EXPECT_EQ(Chosen(), "delta");
        ChooseFromRowMenu("treeMessageHeaders", "delta", {"Move To...", "Saved"});
        EXPECT_EQ(Subjects(), QStringList("alpha"));
        EXPECT_EQ(Chosen(), "alpha") << "behind the last one there is none";
        Click("btnDelete");
        EXPECT_EQ(Subjects(), QStringList());
        EXPECT_EQ(server.Count("alice"), 0);
        Press("treeMessageHeaders", Qt::Key_Delete);
        EXPECT_EQ(Boxes(), QStringList());
    });
}

INSTANTIATE_TEST_SUITE_P(StoredAndOnTheServer, TheRows, testing::Bool());

TEST_F(TheLook, PicturesAndRoom) {
    MakeProfile(server.Address(), false);
    Sitting(
        [&] {
            OpenInbox();
            QTreeView const *const folders = List("treeProfiles");
            QAbstractItemModel const *const model = folders->model();
            QModelIndex const profile = model->index(0, 0);
            QList<QModelIndex> const rows{profile, model->index(0, 0, profile), model->index(1, 0, profile),
                                          model->index(2, 0, profile)};
            QList<QImage> pictures;
            for (QModelIndex const &row : rows) {
                auto const icon = row.data(Qt::DecorationRole).value<QIcon>();
                EXPECT_FALSE(icon.isNull()) << row.data().toString().toStdString();
                pictures << icon.pixmap(16).toImage();
                for (qsizetype before = 0; before + 1 < pictures.size(); before++)
                    EXPECT_NE(pictures.last(), pictures[before]) << row.data().toString().toStdString();
                EXPECT_GE(folders->visualRect(row).height(), folders->fontMetrics().height() + 6);
            }
            // Every column of the message list can be seen, none behind the edge.
            QTreeView const *const list = List("treeMessageHeaders");
            QHeaderView const *const heading = list->header();
            EXPECT_EQ(heading->length(), list->viewport()->width());
            for (int column = 1; column < heading->count(); column++)
                EXPECT_GE(heading->sectionSize(column), 80) << column;
            EXPECT_EQ(list->visualRect(list->model()->index(0, 1)).height(),
                      list->visualRect(list->model()->index(3, 1)).height());
        },
        {"-w800", "-h600"});
}

} // namespace
