// The key table of KelRegistry: key paths derived from the product path,
// and three value names.

#include <kel/KelProductDefines.h>
#include <kel/KelRegistry.h>

#include <string>

#include "environment/bounded_text.h"

#define KEL_PRODUCT_KEY L"Software\\Norvane\\Gantrix\\2015.1"

// The texts differ from entry to entry on purpose and hosts depend on them
// as they are: "LoadedAddins", "DataBase", "WorkPlanes", and a trailing
// separator on Wizards, Dialogs, DetailStylesManager and JointsCommentField
// only.
wchar_t KelRegistry::RegPathEnvironment[kBufferSize] = KEL_PRODUCT_KEY L"\\Environment";
wchar_t KelRegistry::RegPathData[kBufferSize] = KEL_PRODUCT_KEY L"\\Data";
wchar_t KelRegistry::RegPathGX[kBufferSize] = KEL_PRODUCT_KEY;
wchar_t KelRegistry::RegPathLoadedAddIns[kBufferSize] = KEL_PRODUCT_KEY L"\\LoadedAddins";
wchar_t KelRegistry::RegPathWizards[kBufferSize] = KEL_PRODUCT_KEY L"\\Settings\\Wizards\\";
wchar_t KelRegistry::RegPathDialogs[kBufferSize] = KEL_PRODUCT_KEY L"\\Settings\\Dialogs\\";
wchar_t KelRegistry::RegPathProjectData[kBufferSize] = KEL_PRODUCT_KEY L"\\ProjectData";
wchar_t KelRegistry::RegPathDatabase[kBufferSize] = KEL_PRODUCT_KEY L"\\DataBase";
wchar_t KelRegistry::RegPathManualLabels[kBufferSize] = KEL_PRODUCT_KEY L"\\Settings\\ManualLabels";
wchar_t KelRegistry::RegPathProjectExplorerStructures[kBufferSize] =
    KEL_PRODUCT_KEY L"\\Settings\\ProjectExplorer\\Structures";
wchar_t KelRegistry::RegPathProjectExplorerWorkplanes[kBufferSize] =
    KEL_PRODUCT_KEY L"\\Settings\\ProjectExplorer\\WorkPlanes";
wchar_t KelRegistry::RegPathDSM[kBufferSize] = KEL_PRODUCT_KEY L"\\Settings\\DetailStylesManager\\";
wchar_t KelRegistry::RegPathJointsCommentField[kBufferSize] =
    KEL_PRODUCT_KEY L"\\Settings\\JointsCommentField\\";
wchar_t KelRegistry::RegPathBom[kBufferSize] = KEL_PRODUCT_KEY L"\\Settings\\Bom";
wchar_t KelRegistry::RegPathErrorTracer[kBufferSize] = KEL_PRODUCT_KEY L"\\Settings\\ErrorTracer";
wchar_t KelRegistry::RegPathNETAddins[kBufferSize] = KEL_PRODUCT_KEY L"\\NETAddins";
// The live-update and management-tools paths are one key and keep the
// initial product path whatever the product becomes: deliberate, the
// management tools of every product variant share it.
wchar_t KelRegistry::RegPathLiveUpdate[kBufferSize] = KEL_PRODUCT_KEY L"\\ManagementTools";
wchar_t KelRegistry::RegPathMT[kBufferSize] = KEL_PRODUCT_KEY L"\\ManagementTools";
wchar_t KelRegistry::DBConnect[kBufferSize] = L"DBConnect";
wchar_t KelRegistry::DriverDescription[kBufferSize] = L"DriverDescription";
wchar_t KelRegistry::ListOfAttributes[kBufferSize] = L"ListOfAttributes";

#undef KEL_PRODUCT_KEY

KelRegistry::KelRegistry() = default;

KelRegistry& KelRegistry::operator=(const KelRegistry&) {
    return *this;
}

void KelRegistry::setRegistryPathes() {
    struct Entry {
        wchar_t* buffer;
        const wchar_t* suffix;
    };
    const Entry entries[] = {
        {RegPathEnvironment, L"\\Environment"},
        {RegPathData, L"\\Data"},
        {RegPathGX, L""},
        {RegPathLoadedAddIns, L"\\LoadedAddins"},
        {RegPathWizards, L"\\Settings\\Wizards\\"},
        {RegPathDialogs, L"\\Settings\\Dialogs\\"},
        {RegPathProjectData, L"\\ProjectData"},
        {RegPathDatabase, L"\\DataBase"},
        {RegPathManualLabels, L"\\Settings\\ManualLabels"},
        {RegPathProjectExplorerStructures, L"\\Settings\\ProjectExplorer\\Structures"},
        {RegPathProjectExplorerWorkplanes, L"\\Settings\\ProjectExplorer\\WorkPlanes"},
        {RegPathDSM, L"\\Settings\\DetailStylesManager\\"},
        {RegPathJointsCommentField, L"\\Settings\\JointsCommentField\\"},
        {RegPathBom, L"\\Settings\\Bom"},
        {RegPathErrorTracer, L"\\Settings\\ErrorTracer"},
        {RegPathNETAddins, L"\\NETAddins"},
    };
    const std::wstring productKey = std::wstring(L"Software\\") + KelProductDefines::getGXProduct();
    for (const Entry& entry : entries)
        kel::detail::storeBounded(entry.buffer, kBufferSize, productKey + entry.suffix, __func__);
}

const KelString KelRegistry::getRegPathEnvironment() {
    return KelString(RegPathEnvironment);
}

const KelString KelRegistry::getRegPathData() {
    return KelString(RegPathData);
}

const KelString KelRegistry::getRegPathGX() {
    return KelString(RegPathGX);
}

const KelString KelRegistry::getRegPathLoadedAddIns() {
    return KelString(RegPathLoadedAddIns);
}

const KelString KelRegistry::getRegPathWizards() {
    return KelString(RegPathWizards);
}

const KelString KelRegistry::getRegPathDialogs() {
    return KelString(RegPathDialogs);
}

const KelString KelRegistry::getRegPathProjectData() {
    return KelString(RegPathProjectData);
}

const KelString KelRegistry::getRegPathDatabase() {
    return KelString(RegPathDatabase);
}

const KelString KelRegistry::getRegPathManualLabels() {
    return KelString(RegPathManualLabels);
}

const KelString KelRegistry::getRegPathProjectExplorerStructures() {
    return KelString(RegPathProjectExplorerStructures);
}

const KelString KelRegistry::getRegPathProjectExplorerWorkplanes() {
    return KelString(RegPathProjectExplorerWorkplanes);
}

const KelString KelRegistry::getRegPathDSM() {
    return KelString(RegPathDSM);
}

const KelString KelRegistry::getRegPathJointsCommentField() {
    return KelString(RegPathJointsCommentField);
}

const KelString KelRegistry::getRegPathBom() {
    return KelString(RegPathBom);
}

const KelString KelRegistry::getRegPathErrorTracer() {
    return KelString(RegPathErrorTracer);
}

const KelString KelRegistry::getRegPathNETAddins() {
    return KelString(RegPathNETAddins);
}

const KelString KelRegistry::getRegPathLiveUpdate() {
    return KelString(RegPathLiveUpdate);
}

const KelString KelRegistry::getRegPathMT() {
    return KelString(RegPathMT);
}

const KelString KelRegistry::getDBConnect() {
    return KelString(DBConnect);
}

const KelString KelRegistry::getDriverDescription() {
    return KelString(DriverDescription);
}

const KelString KelRegistry::getListOfAttributes() {
    return KelString(ListOfAttributes);
}
