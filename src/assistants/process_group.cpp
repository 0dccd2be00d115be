#include "assistants/process_group.h"

#include <signal.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <QProcess>

namespace vells::assistants {

void startInOwnProcessGroup(QProcess& process) {
  process.setChildProcessModifier([] {
    ::setsid();
    // A tool whose application died must not keep running unseen.
    ::prctl(PR_SET_PDEATHSIG, SIGTERM);
  });
}

void signalProcessGroup(qint64 leader, int signal) {
  if (leader <= 1) return;
  ::kill(-static_cast<pid_t>(leader), signal);
}

}  // namespace vells::assistants
