#pragma once

// What the stand-in's suites share: running microsip-sim as a user would, and
// catching the error an operation must end in.

#include "fb/error.h"

#include <QProcess>
#include <QStringList>

namespace lartest {

inline QString microsipSim()
{
    return qEnvironmentVariable("LAR_BUILD_DIR") + QStringLiteral("/microsip/microsip-sim");
}

// One run of microsip-sim to its end; -1 as the code when it didn't finish.
struct Salida
{
    int codigo = -1;
    QString salida, error;
};

inline Salida corre(const QStringList &args)
{
    QProcess p;
    p.start(microsipSim(), args);
    Salida s;
    if (p.waitForFinished(120000) && p.exitStatus() == QProcess::NormalExit)
        s.codigo = p.exitCode();
    s.salida = QString::fromUtf8(p.readAllStandardOutput());
    s.error = QString::fromUtf8(p.readAllStandardError());
    return s;
}

// The error f throws; one that no check expects when it returns.
template<typename F>
fb::Error fallo(F &&f)
{
    try {
        f();
    } catch (const fb::Error &e) {
        return e;
    }
    return fb::Error(QStringLiteral("(no hubo error)"));
}

} // namespace lartest
