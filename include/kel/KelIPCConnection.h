/// @file KelIPCConnection.h
/// The connection interface and its named-pipe form.
///
/// KelIPCConnection is what the application manages a connection to a peer
/// process through: create it, wait for the peer, drop it, close it, ask
/// whether it is up. KelPipeConnection implements it on a KelNamedPipe.
///
/// @code
///   KelPipeConnection connection(L"\\\\.\\pipe\\Gantrix.Numbering");
///   KelIPCConnection& ipc = connection;
///   if (ipc.createConnection() && ipc.waitForConnection()) {
///       int value = 0;
///       connection.getNamedPipe().read(value);
///   }
///   ipc.close();
/// @endcode

#ifndef KEL_KELIPCCONNECTION_H
#define KEL_KELIPCCONNECTION_H

#include <kel/KelExport.h>
#include <kel/KelNamedPipe.h>
#include <kel/KelString.h>

// Deliberately without a virtual destructor (the interface's layout is
// exactly its five operations): hosts that warn about that are spared here.
#if defined(__GNUC__)
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"
#endif

/// An interface without state. It has no virtual destructor: delete a
/// connection through its own type, never through a KelIPCConnection
/// pointer.
///
/// @copydetails KelIPCConnection.h
class KEL_API KelIPCConnection {
public:
    /// Creates the endpoint. 1 on success, else 0.
    virtual int createConnection() = 0;
    /// Drops the connected peer; the endpoint may wait for another one.
    virtual void disconnect() = 0;
    /// Closes the endpoint.
    virtual void close() = 0;
    /// Blocks until a peer is connected. 1 on success, else 0.
    virtual int waitForConnection() = 0;
    /// 1 while the endpoint is open, else 0.
    virtual int isConnected() = 0;
};

/// A KelIPCConnection over an embedded KelNamedPipe: each operation is the
/// pipe's own (createConnection is create, isConnected is isOpened, and so
/// on), with the pipe's results and last errors.
///
/// @see KelIPCConnection, whose example uses one.
class KEL_API KelPipeConnection : public KelIPCConnection {
public:
    /// Embeds KelNamedPipe(name); nothing is opened.
    KelPipeConnection(const KelString& name);

    int createConnection() override;
    void disconnect() override;
    void close() override;
    int waitForConnection() override;
    /// 1 while the pipe is open, whether or not a client is connected to it.
    int isConnected() override;

    /// The embedded pipe, for reading what the peer sends.
    KelNamedPipe& getNamedPipe();

protected:
    /// The embedded pipe.
    KelNamedPipe m_pipe;
};

#if defined(__GNUC__)
#pragma GCC diagnostic pop
#endif

#endif  // KEL_KELIPCCONNECTION_H
