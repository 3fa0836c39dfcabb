#pragma once

#include "microsip/sim/documentos.h"
#include "support/entornoprueba.h"

#include "fb/database.h"

#include <QDate>
#include <QHash>

#include <memory>

namespace lartest {

// A stand-in company upgraded with the extension, a catalogue of its own, and
// Microsip's part played by microsip::Documentos or by the microsip-sim command line
// (stock left alone).
//   product lines 10, 20, 30; LAR_PUNTOSLINEAS: 10 earns 2 per 100, 20 earns 1 per 50
//   articles (LIBRES_ARTICULOS.PUNTOS), keys A100...: 100 (3) and 101 (no row) of
//     line 10, 102 (NULL) and 103 (5) of line 20, 104 (0) and 105 (1) of line 30
//   customers: 1 with a points card; 2 and 11..19 plain; 3 black-listed, with card;
//     4 ACTIVO_PUNTOS NULL, with card; 5 with two cards
//   cashiers 7 and 8, sellers 1 and 2
class EmpresaPuntos
{
public:
    explicit EmpresaPuntos(bool larSync = false, bool lineaDeOrdenes = false);
    ~EmpresaPuntos();

    // The environment, for a program's session on the same company.
    const EntornoPrueba &entorno() const { return m_entorno; }

    // Writes every points setting: on, but the three ways, card and cap off, factor 2
    // per 100 pesos; then the changes given by short name (gen ven art imp lin tar cap
    // fac pes): "art=S imp=S", "cap=" an empty value, "fac=NULL", "-pes" no key.
    void ajusta(const QString &cambios = {});
    void ejecuta(const QString &sql); // committed
    QVariant valor(const QString &sql);
    // The document's ledger rows in writing order, each
    // "article:TIPO_DOCTO+NATURALEZA:UNIDADES:VALOR_PUNTOS:PARTIDA", '-' for no article.
    QString firma(int docto);
    int saldo(int cliente);

    // Plays a script, steps separated by ';', and returns what its checks found
    // beside what they expected. Documents go by microsip-sim's commands:
    //   sell|create NAME [ve] [cN] [kN] [dN] [tX] [applied] LINES
    //       a document of customer N (1), cashier or seller N (7 or 1), N days after
    //       2026-03-10, type X, created and applied, or only created (perhaps with
    //       APLICADO 'S' already); LINES "100x2.5" (article x units, price 100, with
    //       tax at the point of sale and without in the sales module), "103x1@0"
    //       (position 0), "101x2$104.40" (price)
    //   apply|cancel|unapply|delete|cancel-return NAME, reapply NAME [new LINES]
    //   return NEW NAME [LINES]   the return NEW of NAME, on the sale's day
    //   set CHANGES (as ajusta's, over what is there), sql STATEMENT, upgrade (once more)
    //   =NAME ROWS, =saldoN BALANCE, =[SELECT ...] VALUE   checks; ROWS is a pattern
    //   !CODE STEP   the step fails with the engine's error CODE
    // "{NAME}" and "{NAME:folio}" stand for a document's id and folio.
    QPair<QStringList, QStringList> juega(const QString &guion);

private:
    struct Hecho
    {
        microsip::Sistema sistema;
        int id;
        QDate fecha;
    };
    void paso(const QString &op, const QStringList &args);
    // In a scenario of microsip-sim first, on the command line.
    void cambia(const QString &cambios, const QString &escenario = {});
    microsip::Documento documento(const QStringList &args);
    int orden(QStringList args); // microsip-sim, returns the id it writes

    EntornoPrueba m_entorno;
    fb::Database m_db;
    std::unique_ptr<microsip::Documentos> m_docs;
    bool m_lineaDeOrdenes;
    QHash<QString, Hecho> m_hechos;
};

} // namespace lartest
