#include <kel/KelMemoryControllerController.h>

unsigned char* KelMemoryControllerController::allocateArray(const long& count,
                                                            const size_t& elementSize) {
    const size_t elements = count > 0 ? static_cast<size_t>(count) : 0;
    if (elementSize != 0 && elements > static_cast<size_t>(-1) / elementSize)
        return nullptr;
    return new unsigned char[elements * elementSize];
}

void KelMemoryControllerController::deallocateArray(unsigned char*& array) {
    if (array == nullptr)
        return;
    delete[] array;
    array = nullptr;
}
