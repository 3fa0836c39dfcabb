#pragma once

#include "toolkit/shell.h"

#include <QList>

namespace lartest {

// Installs itself as the opener of every file opened with the shell while alive:
// records each opening and opens nothing.
class GuionShell
{
public:
    GuionShell();
    ~GuionShell();

    const QList<lar::AperturaShell> &aperturas() const { return m_aperturas; }
    void limpia() { m_aperturas.clear(); }

private:
    QList<lar::AperturaShell> m_aperturas;
};

} // namespace lartest
