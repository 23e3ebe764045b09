// libFuzzer target: any bytes as a device's "/config" reply, its "/data"
// reply and its root page.
#include "net/AutoConfiguration.h"
#include "net/HttpSession.h"
#include "store/DeviceFile.h"

#include <cstddef>
#include <cstdint>
#include <cstdlib>

using namespace cz;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    const QByteArray text = replyText(QByteArray(reinterpret_cast<const char *>(data), qsizetype(size)));
    FetchedConfiguration configuration;
    if (parseDeviceConfiguration(text, {}, unitsFromDataReply(text), configuration)) {
        // A name that came from the device must be usable as a file name.
        if (!deviceNameProblem(configuration.name.bytes()).isEmpty())
            std::abort();
    }
    unitsFromRootPage(text);
    return 0;
}
