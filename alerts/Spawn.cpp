#include "alerts/Spawn.h"

#include <QCoreApplication>
#include <QMetaObject>

#include <cerrno>
#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <thread>
#include <vector>

extern char **environ;

namespace cz {

void postBack(const QPointer<QObject> &context, std::function<void()> call)
{
    // Posted through the application object, which outlives `context`.
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [context, call = std::move(call)] {
            if (context)
                call();
        },
        Qt::QueuedConnection);
}

int spawnDetached(const SpawnRequest &request, QObject *context, std::function<void(int exitCode)> exited, pid_t *started)
{
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    if (!request.inheritOutput) {
        posix_spawn_file_actions_addopen(&actions, 0, "/dev/null", O_RDONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 1, "/dev/null", O_WRONLY, 0);
        posix_spawn_file_actions_addopen(&actions, 2, "/dev/null", O_WRONLY, 0);
    }
    if (!request.workingFolder.isEmpty())
        posix_spawn_file_actions_addchdir_np(&actions, request.workingFolder.constData());
    posix_spawnattr_t attributes;
    posix_spawnattr_init(&attributes);
    // Its own process group: a Ctrl+C meant for this program spares it.
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGMASK);
    posix_spawnattr_setpgroup(&attributes, 0);
    sigset_t none;
    sigemptyset(&none);
    posix_spawnattr_setsigmask(&attributes, &none);

    std::vector<char *> argv;
    for (const QByteArray &a : request.arguments)
        argv.push_back(const_cast<char *>(a.constData()));
    argv.push_back(nullptr);
    pid_t pid = 0;
    const int error = posix_spawn(&pid, request.program.constData(), &actions, &attributes, argv.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    posix_spawnattr_destroy(&attributes);
    if (error != 0)
        return error;
    if (started)
        *started = pid;
    QPointer<QObject> guard(context);
    std::thread([pid, guard, exited = std::move(exited)] {
        int status = 0;
        while (::waitpid(pid, &status, 0) < 0 && errno == EINTR) {
        }
        const int code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
        if (exited)
            postBack(guard, [exited, code] { exited(code); });
    }).detach();
    return 0;
}

} // namespace cz
