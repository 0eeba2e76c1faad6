#include <kel/KelGlobalStorage.h>

KelString* KelGlobalStorage::g_pQuillSupportPaths = nullptr;

KelGlobalStorage::KelGlobalStorage() = default;

KelGlobalStorage& KelGlobalStorage::operator=(const KelGlobalStorage&) {
    return *this;
}
