#pragma once

#include <QtGlobal>

class QProcess;

namespace vells::assistants {

// Makes the child the leader of a new session and process group before it
// runs the program, so that a signal to the group also reaches whatever the
// tool spawned (Node workers, shells) and nothing of it outlives a stop.
void startInOwnProcessGroup(QProcess& process);

// Sends `signal` to every process in the group led by `leader`. A group that
// no longer exists is no failure.
void signalProcessGroup(qint64 leader, int signal);

}  // namespace vells::assistants
