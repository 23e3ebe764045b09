// What the configuration windows work with: the device store they commit
// to, the operator's questions and file choices, and the alert actions
// their test buttons run.
#pragma once

#include <QByteArray>

#include <functional>

namespace cz {

class DeviceStore;
class EmailQueue;
class FileChooser;
class HttpSession;
class Prompter;
class SoundPlayer;
class VoiceDialer;

struct WindowContext {
    DeviceStore &store;
    Prompter &prompter;
    FileChooser &files;
    EmailQueue &mail;
    VoiceDialer &dialer;
    SoundPlayer &sound;
    // Automatic configuration fetches through the program's session.
    HttpSession &session;
    // Runs an e-mail test script in the console window; 0 or an errno.
    std::function<int(const QByteArray &scriptPath)> runScript;
};

} // namespace cz
