/// @file KelNamedPipe.h
/// The server end of a named pipe that receives typed values.
///
/// A KelNamedPipe creates a pipe under a name, waits for one client and reads
/// what the client writes: 32-bit integers and short narrow strings. It never
/// writes; the library only receives.
///
/// @code
///   KelNamedPipe pipe(L"\\\\.\\pipe\\Gantrix.Numbering");
///   int count = 0;
///   KelString mark;
///   if (pipe.create() && pipe.waitForConnection() && pipe.read(count) && pipe.read(mark)) { ... }
///   pipe.disconnect();
///   pipe.close();
/// @endcode
///
/// The wire format is a plain byte stream without framing:
///
/// @code{.unparsed}
///   integer   4 bytes, signed, little-endian
///   string    an integer N (the byte count, 0..127), then N bytes of narrow
///             text in the narrow code page, no terminator
/// @endcode
///
/// The name always carries the pipe namespace, "\\.\pipe\" + NAME. On Windows
/// it is a named pipe of the system. Elsewhere it is a Unix-domain stream
/// socket called NAME in the pipe directory, "$XDG_RUNTIME_DIR/kel/pipes"
/// (or "/tmp/kel-<uid>/pipes" without XDG_RUNTIME_DIR), which create makes
/// with mode 0700; a client connects to that socket and writes the same
/// bytes.
///
/// Every operation blocks the calling thread (waiting for a client, waiting
/// for bytes). An object is used by one thread at a time.

#ifndef KEL_KELNAMEDPIPE_H
#define KEL_KELNAMEDPIPE_H

#include <kel/KelExport.h>
#include <kel/KelString.h>

#include <stdint.h>

/// @copydoc KelNamedPipe.h
class KEL_API KelNamedPipe {
public:
    /// The size of the receive buffer, in bytes.
    static constexpr int kBufferSize = 4096;
    /// The longest string a client may send, in bytes; a longer one (and a
    /// negative length) is a failed read.
    static constexpr int kMaxStringLength = 127;

    /// Stores `name`; nothing is opened. The name is the full pipe name,
    /// "\\.\pipe\" included, used as given.
    KelNamedPipe(const KelString& name);
    /// Copies every field, the buffered bytes and the read position
    /// included. The copy refers to the same open pipe: closing either one
    /// closes it for both, after which the other one's operations fail with
    /// last error 6 (invalid handle). Without Windows they never reach another
    /// pipe; Windows may give a closed handle's value to a new object.
    KelNamedPipe(const KelNamedPipe& other);
    /// @copydoc KelNamedPipe(const KelNamedPipe&)
    KelNamedPipe& operator=(const KelNamedPipe& other);
    /// Releases the name only. Deliberately does not close the pipe: copies
    /// may still use it. Call close.
    ~KelNamedPipe();

    /// Creates the pipe: byte stream, blocking, up to 255 instances, 4096-byte
    /// buffers each way. Returns 1 when it is open, else 0 with the system's
    /// last error. The stored handle is replaced either way, so create on an
    /// open pipe leaves the previous one open; close first.
    ///
    /// Without Windows: the name must be "\\.\pipe\" (any case) followed by a
    /// NAME that is a plain file name ("/", "\", "." and ".." refused), else
    /// last error 123. A socket path longer than a Unix socket address holds
    /// (107 bytes) fails with last error 206. A live pipe of that name, in
    /// this or another process, is not taken over: last error 231 (pipe
    /// busy). A socket left behind by a process that is gone is replaced.
    int create();

    /// Waits until a client connects. Returns 1 when one is connected, also
    /// when it connected before the call (then with last error 535, pipe
    /// connected, as Windows reports it); else 0 with the last error. A
    /// client that connected, wrote and closed before the call: Windows
    /// fails with 232 (no data); elsewhere the wait returns 1 and what the
    /// client wrote can be read.
    int waitForConnection();

    /// Drops the connected client; the pipe stays open and may wait for the
    /// next one. Bytes the client sent that were not read are discarded, the
    /// buffered ones too, so that the next client's values never mix with
    /// them.
    void disconnect();

    /// Closes the pipe and returns to the reset state: the name is emptied,
    /// so the object cannot be created again.
    void close();

    /// 1 when the object holds an open pipe handle, else 0.
    int isOpened();

    /// Reads one integer: 4 bytes, little-endian (01 00 00 00 is 1). Returns
    /// 1, else 0 with the last error: 109 once the client has closed the
    /// pipe and everything it sent was read, 299 when the one read made for
    /// the value brought only part of it (the part stays buffered and is not
    /// consumed, so a later read may still complete the value), or the
    /// system's error (6 for no pipe, 536 for no client yet, 233 for no
    /// client since disconnect). `value` changes only on success.
    int read(int& value);

    /// Reads one string: a byte count N, then N bytes of narrow text,
    /// converted with the narrow code page. Returns 1 on success; N = 0
    /// leaves `text` unchanged and consumes the 4 bytes of the count. A count
    /// of 128 or more, or a negative one, is a failed read with last error 13
    /// that consumes nothing (the 4 bytes can still be read as an integer).
    /// Other failures are those of the integer read; a string that arrived
    /// only in part consumes nothing either. `text` changes only on success.
    int read(KelString& text);

protected:
    /// Reads once from the pipe into the buffer at `offset`, at most
    /// 4096 - offset bytes; afterwards the buffer holds offset + the bytes read
    /// as valid data. Returns 1 on success, also when the system reports more
    /// data (234); else 0. An offset outside 0..4096 fails with last error 87.
    int readData(int offset);

    /// Makes sure `size` unread bytes are buffered. When they are not, moves
    /// the unread tail to the start of the buffer and reads once more (one
    /// read only, however few bytes it brings). Returns 1 when that read
    /// succeeded and the buffer holds data, else 0, with nothing consumed and
    /// the read position at the buffer start either way.
    int readMoreDataIfNeccessary(int size);

    /// Returns to the reset state without closing: no handle, empty name,
    /// nothing buffered, no read position.
    void reset();

    /// The full pipe name.
    KelString m_name;
    /// The open pipe; INVALID_HANDLE_VALUE ((void*)-1) when there is none.
    void* m_handle;
    /// Received bytes; m_valid of them are data, m_consumed of those read.
    unsigned char m_buffer[kBufferSize];
    uint32_t m_consumed;  ///< the bytes of the data already read
    /// The next unread byte; null until the first read.
    unsigned char* m_cursor;
    uint32_t m_valid;  ///< the bytes of m_buffer that are data

private:
    /// The 4 bytes at `bytes` as a little-endian signed integer.
    static int32_t littleEndian32(const unsigned char* bytes) {
        return static_cast<int32_t>(uint32_t{bytes[0]} | uint32_t{bytes[1]} << 8 |
                                    uint32_t{bytes[2]} << 16 | uint32_t{bytes[3]} << 24);
    }
    /// Makes `count` unread bytes buffered, or fails (299 when the one read
    /// brought fewer). The inline read(int&) calls it, so it is exported.
    bool fetch(uint32_t count);
    /// Moves the read position on by `count` bytes.
    void advance(uint32_t count);
    /// True when the read position is set and `count` unread bytes follow it.
    bool buffered(uint32_t count) const;
};

/// Inline, so that an integer already buffered costs its caller no call:
/// hosts read values by the million.
inline int KelNamedPipe::read(int& value) {
    // The slow path only fetches, and the test is on the read position
    // alone: `value` and the counters can stay in registers in a caller's
    // loop.
    unsigned char* at = m_cursor;
    if (at == nullptr || m_buffer + m_valid - at < 4) {
        if (!fetch(4))
            return 0;
        at = m_cursor;
    }
    m_cursor = at + 4;
    m_consumed += 4;
    value = littleEndian32(at);
    return 1;
}

#endif  // KEL_KELNAMEDPIPE_H
