/// @file Kel.h
/// The whole public interface of the kel library.
///
/// @code
///   #include <kel/Kel.h>
///
///   KelString text(L"HEA 200");
///   KelStringClassArray parts;
///   parts.append(text);
/// @endcode

#ifndef KEL_KEL_H
#define KEL_KEL_H

#include <kel/KelExport.h>
#include <kel/KelPlatform.h>
#include <kel/KelPlatformTypes.h>
#include <kel/KelVersion.h>

// Text
#include <kel/KelArray.h>
#include <kel/KelGlobalStorage.h>
#include <kel/KelMemoryControllerController.h>
#include <kel/KelSafeRuntime.h>
#include <kel/KelString.h>
#include <kel/KelStringClassArray.h>

// Containers
#include <kel/KelBalancedTree.h>
#include <kel/KelHandleMap.h>

// Numbering and engineering values
#include <kel/KelIncrementalCounter.h>
#include <kel/KelMathUtilities.h>
#include <kel/KelNumberCreator.h>
#include <kel/KelProfTypeDSTVValues.h>
#include <kel/KelRegExWrapper.h>
#include <kel/KelTimeUtilities.h>

// Environment and configuration
#include <kel/KelDataSource.h>
#include <kel/KelDataSourcesUtilities.h>
#include <kel/KelProductDefines.h>
#include <kel/KelPromptsProxy.h>
#include <kel/KelRegistry.h>

// Files and archives
#include <kel/KelCompression.h>
#include <kel/KelFileAccess.h>
#include <kel/KelUnzipper.h>
#include <kel/KelZipper.h>

// Diagnostics
#include <kel/KelDebugInterfaces.h>
#include <kel/KelErrorTracer.h>
#include <kel/KelLogfile.h>
#include <kel/KelPerfMonitor.h>
#include <kel/KelStackWalker.h>
#include <kel/OrbisException.h>

// Processes, progress and notification
#include <kel/KelIPCConnection.h>
#include <kel/KelMessage.h>
#include <kel/KelNamedPipe.h>
#include <kel/KelProcessEvolutionManager.h>
#include <kel/KelProgressCtrl.h>
#include <kel/KelRBTree.h>
#include <kel/KelThreadsPool.h>
#include <kel/KelUserNotification.h>

// The standard library's view of kel's types
#include <kel/KelStd.h>

#endif  // KEL_KEL_H
