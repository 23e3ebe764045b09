#include "tests/ui/SessionBus.h"

#include <QDBusConnectionInterface>

namespace cz::test {

PrivateSessionBus::PrivateSessionBus()
{
    daemon_.start(QStringLiteral("dbus-daemon"),
                  {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                   QStringLiteral("--print-address=1"),
                   QStringLiteral("--address=unix:path=%1/bus").arg(dir_.path())});
    if (!daemon_.waitForStarted(10000))
        return;
    for (int i = 0; i < 100 && !daemon_.canReadLine(); ++i)
        daemon_.waitForReadyRead(100);
    address_ = QString::fromUtf8(daemon_.readLine()).trimmed();
}

PrivateSessionBus::~PrivateSessionBus()
{
    for (const QString &name : std::as_const(names_))
        QDBusConnection::disconnectFromBus(name);
    daemon_.terminate();
    daemon_.waitForFinished(5000);
}

QDBusConnection PrivateSessionBus::connect(const QString &name) const
{
    names_ << name;
    return QDBusConnection::connectToBus(address_, name);
}

NotificationService::NotificationService(QDBusConnection bus) : bus_(std::move(bus))
{
    registered_ = bus_.isConnected() &&
                  bus_.registerObject(QStringLiteral("/org/freedesktop/Notifications"), this,
                                      QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals) &&
                  bus_.registerService(QStringLiteral("org.freedesktop.Notifications"));
}

QList<NotificationService::Shown> NotificationService::onScreen() const
{
    QList<Shown> screen;
    for (const Shown &s : calls) {
        const auto same = std::find_if(screen.begin(), screen.end(), [&](const Shown &o) { return o.id == s.id; });
        if (same != screen.end())
            *same = s;
        else
            screen << s;
    }
    screen.removeIf([](const Shown &s) { return s.closed; });
    return screen;
}

void NotificationService::click(uint id)
{
    emit ActionInvoked(id, QStringLiteral("default"));
}

uint NotificationService::Notify(const QString &app, uint replacesId, const QString &icon, const QString &summary,
                                 const QString &body, const QStringList &actions, const QVariantMap &hints, int)
{
    Shown s;
    s.id = replacesId ? replacesId : nextId_++;
    s.replaces = replacesId;
    s.app = app, s.icon = icon, s.summary = summary, s.body = body, s.actions = actions;
    s.urgency = hints.contains(QStringLiteral("urgency")) ? hints.value(QStringLiteral("urgency")).toInt() : -1;
    calls << s;
    return s.id;
}

void NotificationService::CloseNotification(uint id)
{
    for (Shown &s : calls)
        if (s.id == id)
            s.closed = true;
    emit NotificationClosed(id, 3);
}

QStringList NotificationService::GetCapabilities()
{
    return {QStringLiteral("actions"), QStringLiteral("body")};
}

QString NotificationService::GetServerInformation(QString &vendor, QString &version, QString &specVersion)
{
    vendor = QStringLiteral("tests"), version = QStringLiteral("1"), specVersion = QStringLiteral("1.2");
    return QStringLiteral("test notifications");
}

} // namespace cz::test
