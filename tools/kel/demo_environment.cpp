// Demonstration: the product identity and its key table, values in the
// configuration store, and the language lookup.

#include <kel/Kel.h>

#include <string>

#include "command.h"
#include "environment/hive_store.h"

namespace kel::tool {

namespace {

// KEL_REGISTRY_DIR pointing at a folder of its own for the demonstration's
// lifetime; the folder, the product identity and the key table are put back
// afterwards.
class DemoHive {
public:
    DemoHive() : m_folder("environment") {}
    ~DemoHive() {
        KelProductDefines::setGXProductName(L"Gantrix");
        KelProductDefines::setGXRelease(L"2015.1");
        KelRegistry::setRegistryPathes();
        // Where the store is the system registry, the demonstration's keys go.
        detail::deleteTree(detail::Hive::User, L"Software\\Norvane\\Ferrix", 0);
    }
    DemoHive(const DemoHive&) = delete;
    DemoHive& operator=(const DemoHive&) = delete;

    std::string dir() const { return m_folder.path().string(); }

private:
    DemoStoreFolder m_folder;
};

std::wstring w(const KelString& text) {
    return text.getStringW();
}

void showProduct() {
    line(L"getGXProduct()                  -> \"" +
         std::wstring(KelProductDefines::getGXProduct()) + L"\"");
    line(L"getRegPathEnvironment()         -> \"" + w(KelRegistry::getRegPathEnvironment()) +
         L"\"");

    KelProductDefines::setGXProductName(L"Ferrix");
    KelProductDefines::setGXRelease(L"2016");
    line(L"setGXProductName(L\"Ferrix\"), setGXRelease(L\"2016\")");
    line(L"getGXProduct()                  -> \"" +
         std::wstring(KelProductDefines::getGXProduct()) + L"\"");
    line(L"getGXCommercialRelease()        -> \"" +
         std::wstring(KelProductDefines::getGXCommercialRelease()) + L"\" (never follows)");
    line(L"getRegPathEnvironment()         -> \"" + w(KelRegistry::getRegPathEnvironment()) +
         L"\" (not yet rebuilt)");
    KelRegistry::setRegistryPathes();
    line(L"setRegistryPathes()");
    line(L"getRegPathEnvironment()         -> \"" + w(KelRegistry::getRegPathEnvironment()) +
         L"\"");
    line(L"getRegPathWizards()             -> \"" + w(KelRegistry::getRegPathWizards()) + L"\"");
    line(L"getRegPathMT()                  -> \"" + w(KelRegistry::getRegPathMT()) +
         L"\" (never rebuilt)");
}

void showValues(const std::string& dir) {
    line("");
#if defined(_WIN32)
    (void)dir;
    line("In the system registry (the demonstration's keys are removed afterwards)");
#else
    line("KEL_REGISTRY_DIR=" + dir + " (hives machine.db, user.db, classes.db)");
#endif
    const KelString environment = KelRegistry::getRegPathEnvironment();
    KelRegistry::setRegValueCurrentUser(environment, L"DataPath", KelString(L"C:\\Ferrix\\Data\\"));
    KelRegistry::setData(L"Numbering", L"Prefix", KelString(L"B-"));
    KelRegistry::setData(L"Numbering", L"Start", 100);
    const long long limit = 1LL << 40;
    KelRegistry::setRegValueCurrentUser(KelRegistry::getRegPathBom(), L"Limit", limit);
    line("setRegValueCurrentUser(env, \"DataPath\", \"C:\\Ferrix\\Data\\\")");
    line("setData(\"Numbering\", \"Prefix\", \"B-\"), setData(\"Numbering\", \"Start\", 100)");

    KelString prefix;
    int start = 0;
    long long readLimit = 0;
    KelRegistry::getData(L"Numbering", L"Prefix", prefix);
    KelRegistry::getData(L"Numbering", L"Start", start);
    KelRegistry::getRegValueCurrentUser(KelRegistry::getRegPathBom(), L"Limit", readLimit, 0);
    line(L"getData(\"Numbering\", ...)       -> \"" + w(prefix) + L"\", " + std::to_wstring(start));
    line(L"QWORD Bom\\Limit                 -> " + std::to_wstring(readLimit));
    line(L"getPathData()                   -> \"" + w(KelRegistry::getPathData()) +
         L"\" (one trailing \\ dropped)");
    line(L"getPathSupport()                -> \"" + w(KelRegistry::getPathSupport()) + L"\"");
    KelString missing(L"untouched");
    const int found = KelRegistry::getData(L"Grid", L"Columns", missing);
    line(L"getData(\"Grid\", \"Columns\")      -> " + std::to_wstring(found) + L", \"" +
         w(missing) + L"\" (the key is created, the value is not)");
}

void showLanguage() {
    line("");
    const KelString environment = KelRegistry::getRegPathEnvironment();
    line("no \"Language\" value             -> culture " +
         std::to_string(KelRegistry::getCurrentCultureId()) + ", language " +
         std::to_string(KelRegistry::getCurrentLanguage()));
    for (int culture : {1031, 1036, 3084, 1049, 1033}) {
        KelRegistry::setRegValueCurrentUser(environment, L"Language", culture);
        line("\"Language\" = " + std::to_string(culture) + "              -> language " +
             std::to_string(KelRegistry::getCurrentLanguage()));
    }
}

void showEnvironment() {
    DemoHive hive;
    showProduct();
    showValues(hive.dir());
    showLanguage();
}

const DemoSection environment(40, "Environment: product, key table and configuration store",
                              showEnvironment);

}  // namespace

}  // namespace kel::tool
