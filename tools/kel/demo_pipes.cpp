// Demonstration: a named-pipe round trip between two threads of this
// process. The main thread is the server (KelNamedPipe); client threads
// connect and write values in the wire format.

#include <kel/Kel.h>

#include <string>
#include <thread>

#include "command.h"
#include "process/named_pipe.h"

#if defined(_WIN32)
#include <windows.h>
#else
#include <unistd.h>
#endif

namespace kel::tool {

namespace {

std::string wireInt(int value) {
    const auto bits = static_cast<unsigned int>(value);
    std::string bytes;
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>((bits >> (8 * i)) & 0xFF);
    return bytes;
}

std::string wireString(const std::string& text) {
    return wireInt(static_cast<int>(text.size())) + text;
}

// A client thread: connects to `name` and writes `bytes`.
std::thread client(const std::wstring& name, const std::string& bytes) {
    return std::thread([name, bytes] {
        kel::detail::PipeClient pipe;
        if (pipe.connect(name.c_str(), 10000))
            pipe.write(bytes.data(), bytes.size());
    });
}

std::string number(long value) {
    return std::to_string(value);
}

std::string quoted(const KelString& text) {
    return std::string("\"") + text.getStringA() + "\"";
}

void showPipes() {
#if defined(_WIN32)
    const unsigned long process = ::GetCurrentProcessId();
#else
    const unsigned long process = static_cast<unsigned long>(::getpid());
#endif
    const std::string name = "\\\\.\\pipe\\kel-demo-" + std::to_string(process);
    const std::wstring wideName = KelString(name.c_str()).getStringW();
    KelNamedPipe pipe(KelString(name.c_str()));
    line("KelNamedPipe pipe(\"" + name + "\")");
    const int created = pipe.create();
    line("pipe.create()            -> " + number(created));
    if (!created) {
        line("(the pipe could not be created: last error " + number(kelGetLastError()) + ")");
        return;
    }

    line("a client thread writes: int 3, str \"HEA 200\", str \"\", int -1, then a count of 200");
    std::thread first = client(wideName, wireInt(3) + wireString("HEA 200") + wireString("") +
                                             wireInt(-1) + wireInt(200) + std::string(200, 'x'));
    line("pipe.waitForConnection() -> " + number(pipe.waitForConnection()));
    int value = 0;
    KelString text;
    int ok = pipe.read(value);
    line("pipe.read(int)           -> " + number(ok) + ", " + number(value));
    ok = pipe.read(text);
    line("pipe.read(str)           -> " + number(ok) + ", " + quoted(text));
    ok = pipe.read(text);
    line("pipe.read(str)           -> " + number(ok) + ", " + quoted(text) +
         " (an empty string leaves the target as it was)");
    ok = pipe.read(value);
    line("pipe.read(int)           -> " + number(ok) + ", " + number(value));
    ok = pipe.read(text);
    line("pipe.read(str)           -> " + number(ok) + ", last error " + number(kelGetLastError()) +
         " (a string has at most 127 bytes)");
    first.join();
    pipe.disconnect();
    line("pipe.disconnect()           (what the client sent after that is dropped)");

    line("a second client writes: int 42, str \"IPE 300\", and closes");
    std::thread second = client(wideName, wireInt(42) + wireString("IPE 300"));
    line("pipe.waitForConnection() -> " + number(pipe.waitForConnection()));
    ok = pipe.read(value);
    line("pipe.read(int)           -> " + number(ok) + ", " + number(value));
    ok = pipe.read(text);
    line("pipe.read(str)           -> " + number(ok) + ", " + quoted(text));
    second.join();
    ok = pipe.read(value);
    line("pipe.read(int)           -> " + number(ok) + ", last error " + number(kelGetLastError()) +
         " (the client closed its end)");
    pipe.close();
    line("pipe.close(); pipe.isOpened() -> " + number(pipe.isOpened()));
}

const DemoSection pipes(70, "Named pipes", showPipes);

}  // namespace

}  // namespace kel::tool
