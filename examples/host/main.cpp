// A small host application of kel: what a program that uses the library
// does when it starts, then a few of the library's services.
//
//   host [FOLDER]    works in FOLDER (default: "host-files" in the current folder)
//
// The configuration value goes to the configuration store: the system
// registry on Windows; on Linux a hive file under ~/.config/kel/registry,
// or under $KEL_REGISTRY_DIR when that is set.

#include <kel/Kel.h>

#include <cstdio>
#include <string>

namespace {

// ----- what the host plugs into the library ------------------------------------

// The host's prompts: every text of a message box, and always its caption
// (section "GUI", number 14200), comes from here. A real host reads its
// prompts database; one it does not know answers "<key> Prompt-<number>".
KelString hostPrompt(const KelString& key, long number) {
    if (key == KelString(L"GUI") && number == 14200)
        return KelString(L"Ferrix");
    if (key == KelString(L"Host") && number == 1)
        return KelString(L"The settings are saved.");
    KelString notFound;
    notFound.format(L"%s Prompt-%ld", key.getStringW(), number);
    return notFound;
}

// Which prompts database the getter reads, and the host's prompt cache.
void selectPromptsDatabase(unsigned long) {}
void resetPromptsCache() {}

// The library's debug output: silent on Linux by default, so the host
// keeps it in its own log (here: stderr).
void debugOutput(const wchar_t* text, void*) {
    std::fprintf(stderr, "[debug] %s", kel::toUtf8(KelString(text)).c_str());
}

// The bounded runtime routines report an invalid argument here, then
// return their error number. The default writes to the debug output and
// returns; a host that would rather stop installs a handler that aborts.
void invalidParameter(const wchar_t* expression, const wchar_t* function, const wchar_t*,
                      unsigned int, uintptr_t) {
    std::printf("invalid parameter in %s: %s\n",
                function != nullptr ? kel::toUtf8(KelString(function)).c_str() : "?",
                expression != nullptr ? kel::toUtf8(KelString(expression)).c_str() : "?");
}

// Every box the library shows passes through here. A host with its own
// dialogs (Qt, GTK, ...) shows them; this console host prints them and
// answers OK.
int messageBox(HWND, const wchar_t* text, const wchar_t* caption, unsigned int, void*) {
    std::printf("[box] %s: %s\n", kel::toUtf8(KelString(caption)).c_str(),
                kel::toUtf8(KelString(text)).c_str());
    return IDOK;
}

// ----- the start-up sequence -------------------------------------------------------

void startUp(HWND mainWindow) {
    // 1. The product's name and release, when they are not "Gantrix" and
    //    "2015.1": they name the settings key, log files and box captions.
    KelProductDefines::setGXProductName(L"Ferrix");
    KelProductDefines::setGXRelease(L"2016");
    // 2. The key table, from the product path just set.
    KelRegistry::setRegistryPathes();
    // 3. The three prompt functions.
    KelPromptsProxy::getInstance()->setFunctions(hostPrompt, selectPromptsDatabase,
                                                 resetPromptsCache);
    // 4. The owner window of message boxes.
    KelMessage::setCadHWND(mainWindow);
    // The handlers, where the defaults do not suit the host.
    kelSetDebugOutputHandler(debugOutput, nullptr);
    kelSetInvalidParameterHandler(invalidParameter);
    kelSetMessageBoxHandler(messageBox, nullptr);
}

}  // namespace

int main(int argc, char** argv) {
    startUp(nullptr);  // a console host has no main window
    std::printf("kel %s, settings under HKCU\\%s\n", kelGetVersion(),
                kel::toUtf8(KelRegistry::getRegPathData()).c_str());

    // Strings and arrays.
    KelStringClassArray profiles;
    profiles.append(KelString(L"IPE 300"));
    profiles.append(KelString(L"HEA 200"));
    profiles.append(KelString(L"HEA 100"));
    profiles.sort(KelString::strCompare);
    KelString list;
    for (const KelString& profile : profiles)
        list += (list.isEmpty() ? KelString() : KelString(L", ")) + profile;
    std::printf("profiles: %s\n", kel::toUtf8(list).c_str());
    std::printf("natural order of B2 and B10: %d\n",
                KelString::compareWithNumbers(KelString(L"B2"), KelString(L"B10")));

    // A configuration value, in the user hive below the product's key.
    if (!KelRegistry::setData(L"Numbering", L"Prefix", KelString(L"B-"))) {
        std::fprintf(stderr, "host: cannot write the configuration value\n");
        return 1;
    }
    KelString prefix;
    KelRegistry::getData(L"Numbering", L"Prefix", prefix);
    std::printf("Numbering\\Prefix = %s\n", kel::toUtf8(prefix).c_str());
    KelMessage::messageBox(L"Host", 1);

    // A text file in UTF-8.
    const KelString folder = kel::fromUtf8(argc > 1 ? argv[1] : "host-files");
    KelFileAccess::makeDir(folder);
    const KelString textFile = folder + KelString(L"/parts.txt");
    {
        KelFileAccess out(textFile, L"w", KelFileAccess::encodeUTF8);
        if (!out.isOpen()) {
            std::fprintf(stderr, "host: cannot write %s\n", kel::toUtf8(textFile).c_str());
            return 1;
        }
        for (const KelString& profile : profiles)
            out.write(L"%s%s\n", prefix.getStringW(), profile.getStringW());
    }
    KelFileAccess in(textFile, L"r", KelFileAccess::encodeUTF8);
    KelString line;
    in.gets(line, 256);
    std::printf("first line of parts.txt: %s", kel::toUtf8(line).c_str());
    in.close();

    // A zip archive of the folder, and its contents back.
    if (!KelZipper::ZipFolder(folder.getStringW(), false)) {
        std::fprintf(stderr, "host: cannot archive %s\n", kel::toUtf8(folder).c_str());
        return 1;
    }
    const KelString archive = folder + KelString(L".zip");
    KelUnzipper unzipper(archive.getStringW());
    std::printf("%s holds %d entries\n", kel::toUtf8(archive).c_str(), unzipper.GetFileCount());

    // A bounded copy that does not fit goes to the invalid-parameter handler.
    char small[4];
    const int error = kelstrcpy(small, sizeof small, "HEA 200");
    std::printf("kelstrcpy into 4 bytes: %d\n", error);
    return 0;
}
