#include "qt/web/web_view.h"

#include "photon/PtWebClient.h"
#include "qt/boxes/print.h"
#include "qt/views/view.h"
#include "qt/web/web_browser.h"
#include "qt/web/web_process.h"

#include <QSocketNotifier>

#include <cerrno>

namespace {

constexpr std::chrono::seconds kPageTime{2}; ///< that setting a URL may take; later answers are shown all the same
/// Messages about pages before: one for each that was not answered in time, and images. Without an end they would
/// keep the window busy without end.
constexpr int kMostLate = 1000;

class WebView : public View {
  public:
    WebView(PtWidget &widget, WebBrowser *browser) : View(widget, browser, false) {
        browser->on_link = [this](QString const &address) { TellLink(address); };
    }
    ~WebView() override {
        if (WebBrowser *shown = browser())
            shown->on_link = nullptr;
    }

    int Act(PtWidget_t &widget, PtAction const &action) override;
    void Vanish() override {
        StopServer();
        View::Vanish();
    }

  private:
    WebBrowser *browser() const { return static_cast<WebBrowser *>(native_widget()); }
    int StartServer(PtWidget &widget);
    void StopServer();
    int Load(PtWidget &widget, std::string const &url);
    bool TakeMessages();
    void Take(vserver::Packet const &packet);
    void ShowPage(vserver::Packet const &packet);
    void ShowImage(vserver::Packet const &packet);
    void ShowNothing();
    void BreakOff();
    void TellLink(QString const &address);

    std::string command_; ///< empty when there is to be no server
    std::vector<std::string> roots_;
    WebProcess server_;
    std::unique_ptr<QSocketNotifier> notifier_;

    // The page being loaded or shown.
    uint32_t id_ = 0;
    bool answered_ = true;     ///< its Page or Error has come
    int late_ = 0;             ///< messages of pages before that came since it was asked for
    std::vector<bool> images_; ///< which have come
    uint64_t pixels_left_ = 0;
};

int WebView::Act(PtWidget_t &widget, PtAction const &action) {
    switch (action.resource) {
    case Pt_ARG_WEB_SERVER: {
        command_ = action.text;
        if (StartServer(widget) == 0)
            return 0;
        command_.clear(); // pages would only wait for it again
        return -1;
    }
    case Pt_ARG_WEB_GET_URL:
        return Load(widget, action.text);
    case Pt_ARG_WEB_COMMAND:
        if (action.len == Pt_WEB_COMMAND_EXIT) {
            command_.clear();
            StopServer();
        }
        return 0;
    case Pt_ARG_WEB_PRINT: {
        auto *const context = reinterpret_cast<PpPrintContext *>(action.value);
        return browser() && context && context->printer && browser()->Print(*context->printer) ? 0 : -1;
    }
    default: // cache sizes and the like
        return 0;
    }
}

/// Starts the command with the directories that the widget names now, and notes the result in the widget.
int WebView::StartServer(PtWidget &widget) {
    StopServer();
    roots_ = PtValueOf(widget, Pt_ARG_WEB_ROOTS)->items;
    int const error = server_.Start(command_, roots_);
    PtStoreScalar(widget, Pt_ARG_WEB_STARTUP_ERRNO, error);
    if (error != 0)
        return error;
    PtStoreScalar(widget, Pt_ARG_WEB_NAMES_IMAGES, server_.NamesImages());
    notifier_ = std::make_unique<QSocketNotifier>(server_.Socket(), QSocketNotifier::Read);
    QObject::connect(notifier_.get(), &QSocketNotifier::activated, this, [this] { TakeMessages(); });
    return 0;
}

void WebView::StopServer() {
    if (notifier_) {
        notifier_->setEnabled(false);
        notifier_.release()->deleteLater(); // this may be its own call
    }
    server_.Stop();
}

/// Loads a page and waits a bounded time until the server has read it, so that its files may change afterwards.
int WebView::Load(PtWidget &widget, std::string const &url) {
    ++id_;
    answered_ = false;
    late_ = 0;
    images_.clear();
    TellLink({});
    constexpr int kTries = 2; // the server may have died since the last page, or die of this one
    auto const deadline = WebProcess::Clock::now() + kPageTime;
    for (int i = 0; i < kTries && !answered_ && !command_.empty(); ++i) {
        bool const changed = PtValueOf(widget, Pt_ARG_WEB_ROOTS)->items != roots_;
        if ((!server_.Running() || changed) && StartServer(widget) != 0)
            break;
        int const error = server_.Load(id_, url);
        if (error == EINVAL)
            break;
        if (error != 0)
            StopServer(); // it has ended, or has read nothing for a long time
        while (!answered_ && server_.Running() && server_.Wait(deadline))
            TakeMessages();
        if (server_.Running())
            break;
    }
    if (answered_)
        return 0;
    ShowNothing();
    if (server_.Running())
        return 0;
    if (StoredNumber(widget, Pt_ARG_WEB_STARTUP_ERRNO) == 0) // it starts, and dies of each page
        PtStoreScalar(widget, Pt_ARG_WEB_STARTUP_ERRNO, ECONNRESET);
    return -1;
}

/// Takes everything that has arrived. False when the server has ended.
bool WebView::TakeMessages() {
    vserver::Packet packet;
    while (server_.Running()) {
        switch (server_.Receive(packet)) {
        case vserver::Received::Message:
            Take(packet);
            break;
        case vserver::Received::Nothing:
            return true;
        default:
            StopServer();
        }
    }
    return false;
}

void WebView::Take(vserver::Packet const &packet) {
    using vserver::Kind;
    Kind const kind = packet.header.kind;
    if (kind != Kind::Page && kind != Kind::Image && kind != Kind::Error)
        return BreakOff();
    if (packet.header.id != id_) { // of a page before
        if (++late_ > kMostLate)
            BreakOff();
        return;
    }
    if (kind == Kind::Image)
        return ShowImage(packet);
    if (answered_)
        return BreakOff();
    if (kind == Kind::Page)
        return ShowPage(packet);
    answered_ = true;
    bool const tell = packet.header.value[0] == 1;
    if (tell && browser())
        browser()->ShowPage(QString::fromStdString(packet.text).toHtmlEscaped(), 0);
    else
        ShowNothing();
}

/// The server broke the rules: whatever it is now, it is not ours any more.
void WebView::BreakOff() { StopServer(); }

void WebView::ShowNothing() {
    if (browser())
        browser()->ShowPage({}, 0);
}

void WebView::ShowPage(vserver::Packet const &packet) {
    SealedBytes const page(packet.descriptor.Get(), packet.header.value[1]);
    if (!page.Valid())
        return BreakOff();
    answered_ = true;
    images_.assign(packet.header.value[0], false);
    pixels_left_ = vserver::kMaxPageImagePixels;
    std::string_view const html = page.Bytes();
    if (browser())
        browser()->ShowPage(QString::fromUtf8(html.data(), static_cast<qsizetype>(html.size())),
                            packet.header.value[0]);
}

void WebView::ShowImage(vserver::Packet const &packet) {
    auto const [number, width, height] = packet.header.value;
    uint64_t const pixels = uint64_t{width} * height;
    if (number >= images_.size() || images_[number] || pixels > pixels_left_)
        return BreakOff();
    images_[number] = true;
    pixels_left_ -= pixels;
    if (pixels == 0) {
        if (browser())
            browser()->ShowImageName(number, QString::fromUtf8(packet.text.data(), packet.text.size()));
        return;
    }
    SealedBytes const bytes(packet.descriptor.Get(), pixels * 4);
    if (!bytes.Valid())
        return BreakOff();
    auto const *rows = reinterpret_cast<uchar const *>(bytes.Bytes().data());
    // Converting copies, so nothing refers to the mapping afterwards.
    QPixmap const pixmap = QPixmap::fromImage(QImage(rows, static_cast<int>(width), static_cast<int>(height),
                                                     static_cast<qsizetype>(width) * 4, QImage::Format_RGBA8888));
    if (browser())
        browser()->ShowImage(number, pixmap);
}

void WebView::TellLink(QString const &address) {
    std::string const bytes = address.toStdString();
    Call(Pt_CB_WEB_CONTEXT, 0, const_cast<char *>(bytes.c_str()));
}

} // namespace

QWidget *NewWebBrowser(QWidget *parent) { return new WebBrowser(parent); }

std::unique_ptr<PtView> MakeWebView(PtWidget &widget, QWidget *native) {
    return std::make_unique<WebView>(widget, static_cast<WebBrowser *>(native));
}
