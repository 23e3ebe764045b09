#include "tests/ui/SessionBus.h"

#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QDBusVariant>

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
    if (failNext > 0) {
        --failNext;
        ++failed;
        sendErrorReply(QDBusError::Failed, QStringLiteral("the notification server is restarting"));
        return 0;
    }
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

TrayHost::TrayHost(QDBusConnection bus) : bus_(std::move(bus))
{
    registered_ = bus_.isConnected() &&
                  bus_.registerObject(QStringLiteral("/StatusNotifierWatcher"), this,
                                      QDBusConnection::ExportAllSlots | QDBusConnection::ExportAllSignals |
                                          QDBusConnection::ExportAllProperties) &&
                  bus_.registerService(QStringLiteral("org.kde.StatusNotifierWatcher"));
}

void TrayHost::RegisterStatusNotifierItem(const QString &service)
{
    // An item names its bus name, or its object path on the caller's.
    const QString sender = calledFromDBus() ? message().service() : QString();
    items_ << (service.startsWith('/') ? sender + service : service + QStringLiteral("/StatusNotifierItem"));
    emit StatusNotifierItemRegistered(items_.last());
}

namespace {

QVariant busProperty(const QDBusConnection &bus, const QString &service, const QString &path, const QString &iface,
                  const QString &name)
{
    QDBusMessage get = QDBusMessage::createMethodCall(service, path, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                      QStringLiteral("Get"));
    get << iface << name;
    const QDBusMessage reply = bus.call(get, QDBus::Block, 5000);
    if (reply.type() != QDBusMessage::ReplyMessage || reply.arguments().isEmpty())
        return {};
    return reply.arguments().first().value<QDBusVariant>().variant();
}

// A dbusmenu layout node: (id, properties, children as variants).
void readMenu(const QDBusArgument &arg, QList<std::pair<QString, int>> &entries)
{
    int id = 0;
    QVariantMap properties;
    arg.beginStructure();
    arg >> id >> properties;
    if (properties.contains(QStringLiteral("label")) && properties.value(QStringLiteral("type")) != "separator")
        entries.append({properties.value(QStringLiteral("label")).toString().remove('&'), id});
    arg.beginArray();
    while (!arg.atEnd()) {
        QDBusVariant child;
        arg >> child;
        readMenu(child.variant().value<QDBusArgument>(), entries);
    }
    arg.endArray();
    arg.endStructure();
}

} // namespace

TrayHost::Item TrayHost::read(const QString &item) const
{
    Item out;
    const qsizetype slash = item.indexOf('/');
    const QString service = item.left(slash), path = item.mid(slash);
    const QString sni = QStringLiteral("org.kde.StatusNotifierItem");
    out.status = busProperty(bus_, service, path, sni, QStringLiteral("Status")).toString();
    // ToolTip: (icon name, images a(iiay), title, text).
    const QVariant tip = busProperty(bus_, service, path, sni, QStringLiteral("ToolTip"));
    if (tip.canConvert<QDBusArgument>()) {
        const QDBusArgument arg = tip.value<QDBusArgument>();
        QString icon;
        arg.beginStructure();
        arg >> icon;
        arg.beginArray();
        while (!arg.atEnd()) {
            int w = 0, h = 0;
            QByteArray bytes;
            arg.beginStructure();
            arg >> w >> h >> bytes;
            arg.endStructure();
        }
        arg.endArray();
        arg >> out.toolTipTitle >> out.toolTipText;
        arg.endStructure();
    }
    const QString menuPath = busProperty(bus_, service, path, sni, QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    if (!menuPath.isEmpty()) {
        QDBusMessage layout = QDBusMessage::createMethodCall(service, menuPath, QStringLiteral("com.canonical.dbusmenu"),
                                                             QStringLiteral("GetLayout"));
        layout << 0 << -1 << QStringList();
        const QDBusMessage reply = bus_.call(layout, QDBus::Block, 5000);
        if (reply.type() == QDBusMessage::ReplyMessage && reply.arguments().size() == 2)
            readMenu(reply.arguments().at(1).value<QDBusArgument>(), out.menu);
    }
    return out;
}

void TrayHost::pick(const QString &item, int id) const
{
    const qsizetype slash = item.indexOf('/');
    const QString service = item.left(slash), path = item.mid(slash);
    const QString sni = QStringLiteral("org.kde.StatusNotifierItem");
    const QString menuPath = busProperty(bus_, service, path, sni, QStringLiteral("Menu")).value<QDBusObjectPath>().path();
    QDBusMessage event = QDBusMessage::createMethodCall(service, menuPath, QStringLiteral("com.canonical.dbusmenu"),
                                                        QStringLiteral("Event"));
    event << id << QStringLiteral("clicked") << QVariant::fromValue(QDBusVariant(0)) << 0u;
    bus_.call(event, QDBus::Block, 5000);
}

} // namespace cz::test
