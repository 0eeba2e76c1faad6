// Kel.h - the whole public interface of the kel library.
//
//   #include <kel/Kel.h>
//
//   KelString text(L"HEA 200");
//   KelStringClassArray parts;
//   parts.append(text);

#ifndef KEL_KEL_H
#define KEL_KEL_H

#include <kel/KelExport.h>
#include <kel/KelPlatform.h>
#include <kel/KelPlatformTypes.h>

// Text
#include <kel/KelArray.h>
#include <kel/KelGlobalStorage.h>
#include <kel/KelMemoryControllerController.h>
#include <kel/KelSafeRuntime.h>
#include <kel/KelString.h>
#include <kel/KelStringClassArray.h>

// Files and archives
#include <kel/KelCompression.h>
#include <kel/KelFileAccess.h>
#include <kel/KelUnzipper.h>
#include <kel/KelZipper.h>

#endif  // KEL_KEL_H
