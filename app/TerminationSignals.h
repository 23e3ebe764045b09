// SIGTERM and SIGINT turned into a Qt signal, so that the normal shutdown
// runs on the event loop and not inside a signal handler.
#pragma once

#include <QObject>

class QSocketNotifier;

namespace cz {

class TerminationSignals : public QObject {
    Q_OBJECT
public:
    explicit TerminationSignals(QObject *parent = nullptr);
    ~TerminationSignals() override;

signals:
    void received(int signalNumber);

private:
    QSocketNotifier *notifier_ = nullptr;
};

} // namespace cz
