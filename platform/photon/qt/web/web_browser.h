#pragma once
// The text browser of a web view.

#include <QHash>
#include <QTextBrowser>
#include <QTimer>

#include <functional>
#include <set>

class QPrinter;

class WebBrowser : public QTextBrowser {
  public:
    explicit WebBrowser(QWidget *parent);

    /// Shows a clean page, whose `images` images ("img:<n>") come later or never.
    void ShowPage(QString const &html, unsigned images);
    /// Gives an image of the page.
    void ShowImage(unsigned number, QPixmap const &image);
    /// Gives a frame with its name for an image of the page that cannot be shown.
    void ShowImageName(unsigned number, QString const &name);
    /// Prints the page, with images no wider than the paper. False when the printer does not work.
    bool Print(QPrinter &printer);

    /// Called with the address under the pointer, empty when it has left the link.
    std::function<void(QString const &)> on_link;

  protected:
    /// Answers images of the page and a frame for missing ones. Never nothing: Qt would go on to open the name.
    QVariant loadResource(int type, QUrl const &name) override;
    /// Navigation is the program's business.
    void doSetSource(QUrl const &name, QTextDocument::ResourceType type) override;

  private:
    QVariant Frame(QUrl const &name);
    void AskAboutLink(QUrl const &link);
    void LayOutAgain();

    QSize SizeInPage(QString const &image);

    unsigned awaited_ = 0;        ///< images that have not come yet
    int frame_pixels_left_ = 0;   ///< for frames with names
    bool sizes_known_ = false;    ///< whether `sizes_` is of this page
    QHash<QString, QSize> sizes_; ///< what the page wants its images' sizes to be, 0 for their own; filled when asked
    std::set<QString> frames_;    ///< sizes of frames made for this page
    QTimer layout_timer_;         ///< gathers images that arrive together
};

/// The text of the question before a link is opened: where it really goes, in lines of bounded length.
QString LinkQuestion(QUrl const &link);
/// A link as it is shown and opened. Of a mailto link (RFC 6068) only recipients, subject and body stay: a mail
/// program may take other fields for files to attach, say. Control characters stay in the body alone, as line ends.
QUrl PlainLink(QUrl const &link);
/// Whether a link may be handed to the desktop at all: http, https and mailto.
bool IsOpenableLink(QUrl const &link);
