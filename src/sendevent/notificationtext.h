#ifndef TANEXICS_SENDEVENT_NOTIFICATIONTEXT_H
#define TANEXICS_SENDEVENT_NOTIFICATIONTEXT_H

#include <cstddef>

/// The bytes of a buffer for one notification text, terminator included.
constexpr std::size_t kNotificationBytes = 2048;

#endif
