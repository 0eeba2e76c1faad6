// The named-pipe connection: every operation is the embedded pipe's.

#include <kel/KelIPCConnection.h>

KelPipeConnection::KelPipeConnection(const KelString& name) : m_pipe(name) {}

int KelPipeConnection::createConnection() {
    return m_pipe.create();
}

void KelPipeConnection::disconnect() {
    m_pipe.disconnect();
}

void KelPipeConnection::close() {
    m_pipe.close();
}

int KelPipeConnection::waitForConnection() {
    return m_pipe.waitForConnection();
}

int KelPipeConnection::isConnected() {
    return m_pipe.isOpened();
}

KelNamedPipe& KelPipeConnection::getNamedPipe() {
    return m_pipe;
}
