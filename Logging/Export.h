// Marks what the logging library shows to its users.
#pragma once

#define QZ_LOGGING_API __attribute__((visibility("default")))
