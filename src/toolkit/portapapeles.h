#pragma once

#include <QString>

#include <functional>

namespace lar {

// The system clipboard's text, written through one service so that tests can
// install a writer that records what the program put there.
class ServicioPortapapeles
{
public:
    using Escritor = std::function<void(const QString &)>;
    static void ponTexto(const QString &texto);
    // An empty writer restores the system clipboard.
    static void instalaEscritor(Escritor e);
};

} // namespace lar
