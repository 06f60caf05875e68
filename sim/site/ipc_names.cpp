#include "sim/site/ipc_names.h"

#include <iomanip>
#include <sstream>

namespace sim {

std::vector<IpcObject> objectsAt(key_t key) {
    std::vector<IpcObject> found;
    for (const IpcKind kind : {IpcKind::segment, IpcKind::semaphore, IpcKind::queue}) {
        if (const auto object = IpcFind(kind, key)) found.push_back(*object);
    }
    return found;
}

std::string describe(const IpcObject& object, int index) {
    std::ostringstream text;
    switch (object.kind) {
        case IpcKind::segment:
            text << "сегмент разделяемой памяти";
            break;
        case IpcKind::semaphore:
            text << "семафор";
            break;
        case IpcKind::queue:
            text << "очередь сообщений";
            break;
    }
    text << ", ключ 0x" << std::hex << std::setw(8) << std::setfill('0') << object.key << std::dec;
    if (index >= 0) text << ", индекс " << index;
    if (object.creatorPid != 0) text << ", создал процесс " << object.creatorPid;
    return text.str();
}

}  // namespace sim
