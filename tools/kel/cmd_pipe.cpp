// "kel pipe": both ends of a named pipe from the shell, so that two shells
// can talk to each other and a host's peer can be tried by hand.
//
//   kel pipe listen NAME TYPE... [--repeat] [--clients N]
//   kel pipe send NAME VALUE... [--timeout MS]
//
// NAME is a pipe name ("\\.\pipe\demo") or its last part ("demo"). "listen"
// creates the pipe, waits for a client and reads one value for each TYPE
// ("int" or "str"), printing each as "int:5" or "str:abc"; --repeat reads the
// sequence again until the client closes the pipe, --clients serves that
// many clients one after the other. "send" connects (waiting up to
// --timeout milliseconds, 10000 by default, for the pipe) and writes the
// VALUEs in one piece: "int:N" a 32-bit integer, "str:TEXT" a string in the
// narrow code page, "raw:HEX" bytes as they are, for peers that misbehave
// on purpose.

#include <kel/Kel.h>

#include <cerrno>
#include <climits>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "command.h"
#include "platform/last_error.h"
#include "process/named_pipe.h"

namespace kel::tool {

namespace {

constexpr char kUsage[] =
    "usage: kel pipe listen NAME TYPE... [--repeat] [--clients N]\n"
    "       kel pipe send NAME VALUE... [--timeout MS]\n"
    "\n"
    "NAME   a pipe name (\\\\.\\pipe\\demo) or its last part (demo)\n"
    "TYPE   int or str: what the client is expected to send, in order\n"
    "VALUE  int:N, str:TEXT or raw:HEX (bytes as they are)\n";

int usage(FILE* out) {
    std::fputs(kUsage, out);
    return out == stdout ? 0 : 2;
}

bool equalsIgnoringCase(const std::string& a, const std::string& b) {
    if (a.size() != b.size())
        return false;
    for (size_t i = 0; i < a.size(); ++i) {
        const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; };
        if (lower(a[i]) != lower(b[i]))
            return false;
    }
    return true;
}

std::string fullName(const std::string& name) {
    const std::string prefix = "\\\\.\\pipe\\";
    if (name.size() > prefix.size() && equalsIgnoringCase(name.substr(0, prefix.size()), prefix))
        return name;
    return prefix + name;
}

// The system's wording for the errors the pipe operations report.
std::string reason(unsigned long code) {
    const char* text;
    switch (code) {
        case 2:
            text = "The system cannot find the file specified.";
            break;
        case 5:
            text = "Access is denied.";
            break;
        case 6:
            text = "The handle is invalid.";
            break;
        case 13:
            text = "The data is invalid (a string of 128 bytes or more, or a negative length).";
            break;
        case 109:
            text = "The pipe has been ended.";
            break;
        case 123:
            text = "The filename, directory name, or volume label syntax is incorrect.";
            break;
        case 183:
            text = "Cannot create a file when that file already exists.";
            break;
        case 206:
            text = "The filename or extension is too long.";
            break;
        case 231:
            text = "All pipe instances are busy.";
            break;
        case 232:
            text = "The pipe is being closed.";
            break;
        case 233:
            text = "No process is on the other end of the pipe.";
            break;
        case 299:
            text = "Only part of the value arrived.";
            break;
        case 536:
            text = "Waiting for a process to open the other end of the pipe.";
            break;
        default:
            text = "The system reported an error.";
            break;
    }
    return std::string(text) + " (" + std::to_string(code) + ")";
}

int failure(const std::string& what, const std::string& name) {
    std::fprintf(stderr, "kel pipe: cannot %s %s: %s\n", what.c_str(), name.c_str(),
                 reason(kelGetLastError()).c_str());
    return 1;
}

bool parseCount(const std::string& text, long minimum, long maximum, long& value) {
    if (text.empty())
        return false;
    errno = 0;
    char* end = nullptr;
    value = std::strtol(text.c_str(), &end, 10);
    return errno == 0 && *end == '\0' && value >= minimum && value <= maximum;
}

// ----- listen ---------------------------------------------------------------------------

struct ListenArguments {
    std::string name;
    std::vector<std::string> types;
    bool repeat = false;
    long clients = 1;
};

bool parseListen(const std::vector<std::string>& arguments, ListenArguments& args) {
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--repeat") {
            args.repeat = true;
        } else if (argument == "--clients") {
            if (++i == arguments.size() || !parseCount(arguments[i], 1, INT_MAX, args.clients))
                return false;
        } else if (args.name.empty() && !argument.empty() && argument[0] != '-') {
            args.name = fullName(argument);
        } else if (argument == "int" || argument == "str") {
            args.types.push_back(argument);
        } else {
            return false;
        }
    }
    return !args.name.empty() && !args.types.empty();
}

// Reads one value of `type` and prints it; false when the read failed.
bool readAndPrint(KelNamedPipe& pipe, const std::string& type) {
    if (type == "int") {
        int value = 0;
        if (!pipe.read(value))
            return false;
        std::printf("int:%d\n", value);
    } else {
        KelString text;
        if (!pipe.read(text))
            return false;
        std::printf("str:%s\n", text.getStringA());
    }
    std::fflush(stdout);
    return true;
}

// Reads the sequence from the connected client (again and again with
// --repeat, until the client closes the pipe between two sequences).
int serveClient(KelNamedPipe& pipe, const ListenArguments& args) {
    long number = 0;
    for (;;) {
        for (size_t i = 0; i < args.types.size(); ++i) {
            ++number;
            if (readAndPrint(pipe, args.types[i]))
                continue;
            if (args.repeat && i == 0 && number > 1 && kelGetLastError() == 109)
                return 0;
            return failure("read value " + std::to_string(number) + " (" + args.types[i] + ") from",
                           args.name);
        }
        if (!args.repeat)
            return 0;
    }
}

int runListen(const std::vector<std::string>& arguments) {
    ListenArguments args;
    if (!parseListen(arguments, args))
        return usage(stderr);
    KelNamedPipe pipe(KelString(args.name.c_str()));
    if (!pipe.create())
        return failure("create", args.name);
    std::printf("waiting on %s\n", args.name.c_str());
    std::fflush(stdout);
    int result = 0;
    for (long client = 0; client < args.clients && result == 0; ++client) {
        if (!pipe.waitForConnection()) {
            result = failure("wait for a client on", args.name);
            break;
        }
        result = serveClient(pipe, args);
        pipe.disconnect();
    }
    pipe.close();
    return result;
}

// ----- send -----------------------------------------------------------------------------

struct SendArguments {
    std::string name;
    std::string bytes;
    int values = 0;
    long timeoutMs = 10000;
};

void appendInt(std::string& bytes, long value) {
    const auto bits = static_cast<unsigned long>(value);
    for (int i = 0; i < 4; ++i)
        bytes += static_cast<char>((bits >> (8 * i)) & 0xFF);
}

bool appendHex(std::string& bytes, const std::string& hex) {
    if (hex.size() % 2 != 0)
        return false;
    for (size_t i = 0; i < hex.size(); i += 2) {
        char* end = nullptr;
        const std::string pair = hex.substr(i, 2);
        const long byte = std::strtol(pair.c_str(), &end, 16);
        if (*end != '\0' || pair[0] == '-' || pair[0] == '+' || pair[0] == ' ')
            return false;
        bytes += static_cast<char>(byte);
    }
    return true;
}

bool appendValue(std::string& bytes, const std::string& value) {
    if (value.compare(0, 4, "int:") == 0) {
        long number = 0;
        if (!parseCount(value.substr(4), INT32_MIN, INT32_MAX, number))
            return false;
        appendInt(bytes, number);
        return true;
    }
    if (value.compare(0, 4, "str:") == 0) {
        // The argument in the narrow code page, as the wire wants it.
        const std::string text = KelString(value.substr(4).c_str()).getStringA();
        appendInt(bytes, static_cast<long>(text.size()));
        bytes += text;
        return true;
    }
    if (value.compare(0, 4, "raw:") == 0)
        return appendHex(bytes, value.substr(4));
    return false;
}

bool parseSend(const std::vector<std::string>& arguments, SendArguments& args) {
    for (size_t i = 1; i < arguments.size(); ++i) {
        const std::string& argument = arguments[i];
        if (argument == "--timeout") {
            if (++i == arguments.size() || !parseCount(arguments[i], 0, INT_MAX, args.timeoutMs))
                return false;
        } else if (args.name.empty() && !argument.empty() && argument[0] != '-') {
            args.name = fullName(argument);
        } else if (appendValue(args.bytes, argument)) {
            ++args.values;
        } else {
            return false;
        }
    }
    return !args.name.empty() && args.values > 0;
}

int runSend(const std::vector<std::string>& arguments) {
    SendArguments args;
    if (!parseSend(arguments, args))
        return usage(stderr);
    const std::wstring name = KelString(args.name.c_str()).getStringW();
    kel::detail::PipeClient client;
    if (!client.connect(name.c_str(), static_cast<unsigned int>(args.timeoutMs)))
        return failure("connect to", args.name);
    if (!client.write(args.bytes.data(), args.bytes.size()))
        return failure("write to", args.name);
    client.close();
    std::printf("sent %d value%s (%lu bytes) to %s\n", args.values, args.values == 1 ? "" : "s",
                static_cast<unsigned long>(args.bytes.size()), args.name.c_str());
    return 0;
}

// ----- the command ----------------------------------------------------------------------

int runPipe(const std::vector<std::string>& arguments) {
    for (const std::string& argument : arguments) {
        if (argument == "--help" || argument == "-h")
            return usage(stdout);
    }
    if (arguments.empty())
        return usage(stderr);
    if (arguments[0] == "listen")
        return runListen(arguments);
    if (arguments[0] == "send")
        return runSend(arguments);
    return usage(stderr);
}

const Command pipeCommand("pipe", "listen on a named pipe, or send values to one", runPipe);

}  // namespace

}  // namespace kel::tool
