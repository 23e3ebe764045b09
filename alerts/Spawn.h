// Starting programs that run on their own: alert programs and the mail
// scripts. The child is reaped when it ends, so none is left a zombie.
#pragma once

#include <QByteArray>
#include <QList>
#include <QObject>
#include <QPointer>

#include <functional>
#include <sys/types.h>

namespace cz {

struct SpawnRequest {
    QByteArray program;           // path of the executable
    QList<QByteArray> arguments;  // argv, from argv[0]
    QByteArray workingFolder;     // empty: ours
    bool inheritOutput = false;   // else stdin, stdout and stderr are /dev/null
};

// From another thread: runs `call` on the application's thread, unless
// `context` is gone by then.
void postBack(const QPointer<QObject> &context, std::function<void()> call);

// Starts the program, in a process group of its own, without waiting for
// it. Returns 0, or the errno that kept it from starting. `exited`, if
// given, is called on the thread of `context` once the program has ended,
// with its exit code (-1 when a signal ended it); `pid`, if given, receives
// its process id.
int spawnDetached(const SpawnRequest &request, QObject *context = nullptr,
                  std::function<void(int exitCode)> exited = {}, pid_t *pid = nullptr);

} // namespace cz
