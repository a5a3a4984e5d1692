#include "libLumo/PostedMessage.h"

#include <QCoreApplication>

namespace libLumo {

bool PostMessageA(QObject* window, unsigned message, std::uintptr_t wParam, std::intptr_t lParam) {
    if (!window)
        return false;
    QCoreApplication::postEvent(window, new PostedMessage(message, wParam, lParam));
    return true;
}

}  // namespace libLumo
