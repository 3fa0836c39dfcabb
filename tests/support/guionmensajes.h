#pragma once

#include "toolkit/mensajes.h"

#include <QList>

namespace lartest {

// Installs itself as the answerer of every message box while alive: records each
// box and answers from the queue given, or with the box's default button when the
// queue is empty.
class GuionMensajes
{
public:
    GuionMensajes();
    ~GuionMensajes();

    // Answers for the next boxes, in order (lar::mb::IdYes, IdNo, IdOk...).
    void responde(std::initializer_list<int> respuestas);
    const QList<lar::CajaMensaje> &cajas() const { return m_cajas; }
    QStringList textos() const;
    void limpia() { m_cajas.clear(); }

private:
    QList<lar::CajaMensaje> m_cajas;
    QList<int> m_respuestas;
};

} // namespace lartest
