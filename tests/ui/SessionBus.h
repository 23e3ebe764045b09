// A D-Bus session bus of the test's own (a dbus-daemon on a socket in a
// temporary folder) and a desktop notification service on it, written
// here: what a notification server is asked to show, and the clicks and
// closes it reports back.
#pragma once

#include <QDBusConnection>
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

class NotificationService final : public QObject {
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

} // namespace cz::test
