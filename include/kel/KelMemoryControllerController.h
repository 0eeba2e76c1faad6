/// @file KelMemoryControllerController.h
/// Raw byte arrays for clients of KelArray.
///
/// @code
///   unsigned char* block = KelMemoryControllerController::allocateArray(16, sizeof(double));
///   KelMemoryControllerController::deallocateArray(block);  // block is null again
/// @endcode

#ifndef KEL_KELMEMORYCONTROLLERCONTROLLER_H
#define KEL_KELMEMORYCONTROLLERCONTROLLER_H

#include <kel/KelExport.h>

#include <stddef.h>

/// @copydoc KelMemoryControllerController.h
class KEL_API KelMemoryControllerController {
public:
    /// A new array of count x elementSize bytes, released with
    /// deallocateArray. A count or size of 0 (or a negative count) gives an
    /// array of no bytes, which still has to be released; a product too large
    /// for memory gives null.
    static unsigned char* allocateArray(const long& count, const size_t& elementSize);

    /// Frees a non-null array and sets the pointer to null.
    static void deallocateArray(unsigned char*& array);
};

#endif  // KEL_KELMEMORYCONTROLLERCONTROLLER_H
