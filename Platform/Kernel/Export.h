// Marks what the kernel's shared library shows to its users.
#pragma once

#define PLATFORM_KERNEL_API __attribute__((visibility("default")))
