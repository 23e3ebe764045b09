// A D-Bus session bus of the test's own (a dbus-daemon on a socket in a
// temporary folder) and a desktop notification service on it, written
// here: what a notification server is asked to show, and the clicks and
// closes it reports back.
#pragma once

#include <QDBusConnection>
#include <QDBusContext>
#include <QObject>
#include <QProcess>
#include <QStringList>
#include <QTemporaryDir>
#include <QVariantMap>

namespace cz::test {

class PrivateSessionBus {
public:
    PrivateSessionBus();
    ~PrivateSessionBus();
    bool started() const { return !address_.isEmpty(); }
    QString address() const { return address_; }
    // A new connection to the bus under `name`.
    QDBusConnection connect(const QString &name) const;

private:
    QTemporaryDir dir_;
    QProcess daemon_;
    QString address_;
    mutable QStringList names_;
};

class NotificationService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Notifications")
public:
    struct Shown {
        uint id = 0;
        uint replaces = 0;
        QString app, icon, summary, body;
        QStringList actions;
        int urgency = -1;
        bool closed = false;
    };
    // Takes the service's name and object on `bus`; false when it cannot.
    explicit NotificationService(QDBusConnection bus);
    bool registered() const { return registered_; }
    // Every Notify call, in order; a replacement is a call of its own.
    QList<Shown> calls;
    // What is on the screen now: the last call for each id not closed.
    QList<Shown> onScreen() const;
    // The operator clicks notification `id`.
    void click(uint id);
    // The next this many Notify calls fail with an error reply (a busy or
    // restarting server); they are counted in `failed`.
    int failNext = 0;
    int failed = 0;

public slots:
    uint Notify(const QString &app, uint replacesId, const QString &icon, const QString &summary, const QString &body,
                const QStringList &actions, const QVariantMap &hints, int timeout);
    void CloseNotification(uint id);
    QStringList GetCapabilities();
    QString GetServerInformation(QString &vendor, QString &version, QString &specVersion);

signals:
    void ActionInvoked(uint id, const QString &actionKey);
    void NotificationClosed(uint id, uint reason);

private:
    QDBusConnection bus_;
    bool registered_ = false;
    uint nextId_ = 1;
};

// A tray host as desktops offer it: the StatusNotifierWatcher that tray
// icons register with, whose items are then read over the bus.
class TrayHost final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ hostRegistered)
    Q_PROPERTY(int ProtocolVersion READ protocolVersion)
    Q_PROPERTY(QStringList RegisteredStatusNotifierItems READ items)
public:
    explicit TrayHost(QDBusConnection bus);
    bool registered() const { return registered_; }
    bool hostRegistered() const { return true; }
    int protocolVersion() const { return 0; }
    QStringList items() const { return items_; }
    // What an item shows: its tooltip's title and text, and its menu's
    // entries (label and id) as the host reads them.
    struct Item {
        QString toolTipTitle, toolTipText, status;
        QList<std::pair<QString, int>> menu;
    };
    Item read(const QString &item) const;
    // The operator picks menu entry `id` of the item.
    void pick(const QString &item, int id) const;

public slots:
    void RegisterStatusNotifierItem(const QString &service);
    void RegisterStatusNotifierHost(const QString &) {}

signals:
    void StatusNotifierItemRegistered(const QString &service);

private:
    QDBusConnection bus_;
    bool registered_ = false;
    QStringList items_;  // "bus name/object path"
};

} // namespace cz::test
