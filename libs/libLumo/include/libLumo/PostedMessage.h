#pragma once

#include <QEvent>
#include <cstdint>

class QObject;

namespace libLumo {

// A window message posted from any thread to a dialog's thread: a Qt event whose type is the
// message number (WM_USER + n are valid Qt user event types) with the message's two values.
inline constexpr unsigned WM_USER = 0x0400;

class PostedMessage : public QEvent {
public:
    PostedMessage(unsigned message, std::uintptr_t wParam, std::intptr_t lParam)
        : QEvent(static_cast<QEvent::Type>(message)), wParam_(wParam), lParam_(lParam) {}
    unsigned message() const { return static_cast<unsigned>(type()); }
    std::uintptr_t wParam() const { return wParam_; }
    std::intptr_t lParam() const { return lParam_; }

private:
    std::uintptr_t wParam_;
    std::intptr_t lParam_;
};

// Queues `message` for `window`; the event loop of the window's thread delivers it. Any
// thread. False without a window. The window must outlive the call (a message still queued
// when the window is destroyed is dropped).
bool PostMessageA(QObject* window, unsigned message, std::uintptr_t wParam, std::intptr_t lParam);

}  // namespace libLumo
