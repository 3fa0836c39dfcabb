#include "guionmensajes.h"

namespace lartest {

namespace {

int botonPredeterminado(const lar::CajaMensaje &caja)
{
    using namespace lar::mb;
    static const QList<QList<int>> ids = {{IdOk},
                                          {IdOk, IdCancel},
                                          {IdAbort, IdRetry, IdIgnore},
                                          {IdYes, IdNo, IdCancel},
                                          {IdYes, IdNo},
                                          {IdRetry, IdCancel}};
    const QList<int> &b = ids.value(caja.botones(), ids[0]);
    return b.value(caja.predeterminado() - 1, b[0]);
}

} // namespace

GuionMensajes::GuionMensajes()
{
    lar::ServicioMensajes::instalaRespondedor([this](const lar::CajaMensaje &caja) {
        m_cajas.append(caja);
        if (!m_respuestas.isEmpty())
            return m_respuestas.takeFirst();
        return botonPredeterminado(caja);
    });
}

GuionMensajes::~GuionMensajes()
{
    lar::ServicioMensajes::instalaRespondedor({});
}

void GuionMensajes::responde(std::initializer_list<int> respuestas)
{
    for (int r : respuestas)
        m_respuestas.append(r);
}

QStringList GuionMensajes::textos() const
{
    QStringList out;
    for (const lar::CajaMensaje &c : m_cajas)
        out << c.texto;
    return out;
}

} // namespace lartest
