#include "desktop/notify.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QMetaObject>
#include <QObject>
#include <QVariantMap>

namespace {

constexpr char kService[] = "org.freedesktop.Notifications";
constexpr char kPath[] = "/org/freedesktop/Notifications";

/// Lives on the main thread, from the first notification to the program's end.
class Notifier : public QObject {
    Q_OBJECT

  public:
    std::function<void()> raise;

    void Show(QString const &title, QString const &text) {
        QDBusConnection bus = QDBusConnection::sessionBus();
        if (!bus.isConnected())
            return;
        if (!listening_)
            listening_ = bus.connect(kService, kPath, kService, QStringLiteral("ActionInvoked"), this,
                                     SLOT(OnAction(uint, QString)));
        QDBusMessage call = QDBusMessage::createMethodCall(kService, kPath, kService, QStringLiteral("Notify"));
        // Without "default" as an action a click tells no program.
        call << QStringLiteral("Corvanta") << shown_ << QStringLiteral("corvanta") << title << text.toHtmlEscaped()
             << QStringList{QStringLiteral("default"), QStringLiteral("Show")}
             << QVariantMap{{QStringLiteral("category"), QStringLiteral("email.arrived")},
                            {QStringLiteral("desktop-entry"), QStringLiteral("corvanta")}}
             << -1;
        auto *const watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), this);
        connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, watcher] {
            QDBusPendingReply<uint> const reply = *watcher;
            shown_ = reply.isValid() ? reply.value() : 0;
            watcher->deleteLater();
        });
    }

  public Q_SLOTS:
    void OnAction(uint id, QString const &) {
        if (id == shown_ && raise)
            raise();
    }

  private:
    uint shown_ = 0;
    bool listening_ = false;
};

/// On the application, so that it ends with it.
Notifier *TheNotifier() {
    static Notifier *const notifier = [] {
        auto *const made = new Notifier;
        made->moveToThread(QCoreApplication::instance()->thread());
        return made;
    }();
    return notifier;
}

} // namespace

void OnNotificationClicked(std::function<void()> raise) { TheNotifier()->raise = std::move(raise); }

void Notify(std::string const &title, std::string const &text) {
    if (!QCoreApplication::instance())
        return;
    QMetaObject::invokeMethod(
        TheNotifier(),
        [title = QString::fromStdString(title), text = QString::fromStdString(text)] {
            TheNotifier()->Show(title, text);
        },
        Qt::QueuedConnection);
}

#include "notify.moc"
