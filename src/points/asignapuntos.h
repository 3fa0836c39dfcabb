#pragma once

#include <QList>
#include <QString>

namespace lar {

class MemTable;
class Sesion;

// Manual points movement: one ledger row ('A', system 'AP', no document, article 0)
// per customer chosen, all on one folio of the series "Folio Puntos".
class MovimientoPuntos
{
public:
    // One line of the movement: the customer and the balance shown for it.
    struct Linea
    {
        int idCliente = 0;
        QString nombre;
        int puntos = 0;
    };

    struct Resultado
    {
        bool ok = false;
        // The engine's (or the conversion's) text when it failed; empty when there
        // was nothing to save.
        QString error;
        // The folio the rows carry: padded, or in short form once a taken one was
        // stepped over.
        QString folio;
        int filas = 0;
    };

    explicit MovimientoPuntos(Sesion &sesion);

    // Reloads the customers to choose from (id, Activo, Clave, Nombre), none ticked.
    void CargaClientes(MemTable &clientes);
    // The name and balance of each customer, in the order given; a customer that
    // doesn't exist gives no line. A customer without rows has balance 0.
    QList<Linea> CargaSaldos(const QList<int> &clientes);
    // True when any ledger row, of any kind, carries the folio (padded to 9).
    bool ExisteFolio(const QString &folio);
    // Writes the movement: agregar adds `puntos` to every line; otherwise each
    // line loses `puntos`, but never more than the balance it shows. No lines: no
    // row, not ok, no error. All rows or none; "Folio Puntos" moves on past the
    // folio used.
    Resultado GuardaMovimiento(bool agregar, const QString &puntos, const QList<Linea> &lineas);

private:
    Sesion &m_sesion;
};

} // namespace lar
