#pragma once

/// @file
/// Every public header of the library. A program that wants to compile faster includes what it uses instead: each
/// header stands alone.

#include <Common/Debug/ErrorClass.h>
#include <Common/Debug/FileIOException.h>
#include <Common/Debug/Log.h>
#include <Common/Debug/MailSlotException.h>
#include <Common/Debug/MemFileIOException.h>
#include <Common/Debug/VQDataStreamException.h>
#include <Common/Debug/VQException.h>
#include <Common/Debug/VQParamsException.h>
#include <Common/Debug/VQPipeException.h>
#include <Common/Debug/XfsException.h>
#include <Common/Export.h>
#include <Common/File/ArchiveFormat.h>
#include <Common/File/ArchiveNode.h>
#include <Common/File/ArchiveReader.h>
#include <Common/File/ExtendedFileSystem.h>
#include <Common/File/FileIO.h>
#include <Common/File/MemFileIO.h>
#include <Common/File/VQCompressor.h>
#include <Common/File/VQDataStream.h>
#include <Common/File/VQLzrwCompressor.h>
#include <Common/MailSlot/VQMailSlot.h>
#include <Common/Platform/Platform.h>
#include <Common/Platform/PlatformDirectory.h>
#include <Common/Platform/PlatformFile.h>
#include <Common/Platform/PlatformHooks.h>
#include <Common/Platform/PlatformMemory.h>
#include <Common/Platform/PlatformString.h>
#include <Common/Platform/PlatformSync.h>
#include <Common/ProcessControl/VQCriticalSection.h>
#include <Common/ProcessControl/VQEvent.h>
#include <Common/ProcessControl/VQMutex.h>
#include <Common/ProcessControl/VQPipe.h>
#include <Common/ProcessControl/VQSemaphore.h>
#include <Common/ProcessControl/VQThread.h>
#include <Common/String/LexAnalyzer.h>
#include <Common/String/StringTokenizer.h>
#include <Common/String/VQClassType.h>
#include <Common/String/VQFourCC.h>
#include <Common/String/VQPath.h>
#include <Common/String/VQString.h>
#include <Common/String/VQStringId.h>
