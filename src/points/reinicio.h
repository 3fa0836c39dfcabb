#pragma once

#include <QDate>
#include <QString>

#include <optional>

namespace lar {

class Sesion;

// How the reset date travels in the settings ("Fecha establecida para el
// reinicio"): the shop's short date, dd/MM/yyyy.
QString FechaReinicioTexto(const QDate &fecha);
// An invalid date for an empty or unreadable text.
QDate FechaReinicioDeTexto(const QString &texto);

// Zeroes the points balances: one expiry row ('S', 'S', system 'P') per customer
// that has any ledger row, with the balance of that moment (zero, negative and
// NULL balances included, the last as 0), all on one points folio with PARTIDA
// 1, 2, 3... The next folio is written back to "Folio Puntos". All customers or
// none: a failure leaves no row, no mark and the folio as it was.
class ReinicioPuntos
{
public:
    struct Opciones
    {
        // The scheduled reset: only rows up to that date at 00:00 count, the rows
        // carry it as FECHA and each customer gets its mark in LAR_REINICIO_PUNTOS.
        // Without it (by hand), whole balances, FECHA by default and no marks.
        std::optional<QDate> fechaProgramada;
    };

    struct Resultado
    {
        bool ok = false;
        // The engine's text when it failed; a scheduled reset puts "Error al
        // inicializar puntos" and a line break in front.
        QString error;
        // Rows written, one per customer.
        int clientes = 0;
        // The folio of the run, padded.
        QString folio;
        // "Folio Puntos" as stored after the run, in short form.
        QString siguienteFolio;
    };

    explicit ReinicioPuntos(Sesion &sesion);

    Resultado ejecuta(const Opciones &opciones = {});

private:
    Sesion &m_sesion;
};

} // namespace lar
