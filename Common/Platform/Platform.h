#pragma once

/// @file
/// The platform layer: the families of plain functions over the runtime library and the system.

#include <Common/Platform/PlatformDirectory.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/PlatformMemory.h>
#include <Common/Platform/PlatformString.h>
#include <Common/Platform/PlatformSync.h>
