#include <kel/KelGlobalStorage.h>

KelString* KelGlobalStorage::g_pQuillSupportPaths = nullptr;
