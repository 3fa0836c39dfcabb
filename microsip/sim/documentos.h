#pragma once

#include "fb/decimal.h"

#include <QDate>
#include <QList>
#include <QString>
#include <QTime>

#include <memory>
#include <optional>

namespace fb {
class Database;
class Transaction;
} // namespace fb

namespace microsip {

// Point of sale (DOCTOS_PV) or sales module (DOCTOS_VE).
enum class Sistema { PV, VE };

QString claveSistema(Sistema s); // "PV", "VE"
// "PV"/"pv" or "VE"/"ve"; throws fb::Error otherwise.
Sistema sistemaDe(const QString &clave);

struct Renglon
{
    // The article by id, or by any of its keys.
    int articuloId = 0;
    QString clave;
    fb::Decimal unidades = fb::Decimal(1, 0);
    // Unit price: with tax at the point of sale, without tax in the sales module.
    // Missing: the article's list price (which is without tax).
    std::optional<fb::Decimal> precio;
    // Tax rate in percent.
    fb::Decimal tasaImpuesto = fb::Decimal(16, 0);
    // -1: the next position. 0 (or less) for lines that mustn't earn by article,
    // such as the components of a kit.
    int posicion = -1;
    QChar rol = u'N';
};

struct Documento
{
    Sistema sistema = Sistema::PV;
    // Empty: 'V' (sale) at the point of sale, 'F' (invoice) in the sales module.
    QChar tipo;
    // Empty: the next folio of the document type's series.
    QString folio;
    QDate fecha; // empty: today
    QTime hora;  // empty: now
    // The customer by id or by any of his keys. None at the point of sale: the
    // customer 'Público en general' when there is one.
    int clienteId = 0;
    QString claveCliente;
    int cajeroId = 0; // 0: the first cashier
    int cajaId = 1;
    int vendedorId = 0; // 0: the first seller
    int almacenId = 0;  // 0: the default warehouse
    QList<Renglon> renglones;
    // Totals to write instead of those of the lines.
    std::optional<fb::Decimal> importeNeto;
    std::optional<fb::Decimal> totalImpuestos;
    // The header goes in with APLICADO 'S' at once, as some imports do: it never
    // earns and moves no stock.
    bool insertaAplicado = false;
};

// What a document header holds now.
struct Cabecera
{
    int id = 0;
    Sistema sistema = Sistema::PV;
    QChar tipo;
    QChar estatus;
    QChar aplicado;
    QString folio;
    QDate fecha;
    int clienteId = 0;
    fb::Decimal importeNeto;
    fb::Decimal totalImpuestos;
    // The inventory document that moved its stock, 0 when none.
    int doctoInId = 0;
};

// Microsip's part on sale documents: the very statements Microsip runs, one per
// step, in its order (the points triggers watch exactly these updates of the
// header). Applying also moves the stock through an inventory document, as
// Microsip's inventory does for a sale; cancelling takes it back.
//
// Each operation runs in the object's own transaction and commits, unless
// setConfirma(false): then the caller commits or rolls back transaccion(), which
// lets a test hold a sale open while another station works. Errors throw fb::Error
// with a Spanish message or the engine's text (a failing trigger fails the
// operation, and nothing of it stays).
class Documentos
{
public:
    explicit Documentos(fb::Database &empresa);
    ~Documentos();
    Documentos(const Documentos &) = delete;
    Documentos &operator=(const Documentos &) = delete;

    void setConfirma(bool confirma) { m_confirma = confirma; }
    fb::Transaction &transaccion();
    // Stock moves on apply (the default); off, only the sale tables are written.
    void setMueveExistencias(bool mueve) { m_mueveExistencias = mueve; }

    // Header unapplied, its lines, then its totals. Returns the document's id.
    int crea(const Documento &documento);
    // UPDATE ... SET APLICADO = 'S': the update that earns.
    void aplica(Sistema sistema, int id);
    // crea + aplica in one transaction.
    int vende(const Documento &documento);
    // UPDATE ... SET ESTATUS = 'C' (APLICADO stays).
    void cancela(Sistema sistema, int id);
    // A return 'D' of a sale: a document of its own, with its own folio, created and
    // applied as a sale. No lines: all the sale's lines, whole. Returns its id.
    int devuelve(Sistema sistema,
                 int ventaId,
                 const QList<Renglon> &renglones = {},
                 const QDate &fecha = {});
    // Cancels a return (ESTATUS = 'C').
    void cancelaDevolucion(Sistema sistema, int devolucionId);
    // The lines, then the header.
    void elimina(Sistema sistema, int id);
    // UPDATE ... SET APLICADO = 'N'.
    void desaplica(Sistema sistema, int id);
    // UPDATE ... SET APLICADO = 'S' again, after desaplica (and perhaps modifica).
    void reaplica(Sistema sistema, int id);
    // Replaces the lines of an unapplied document and rewrites its totals.
    void modifica(Sistema sistema, int id, const QList<Renglon> &renglones);

    Cabecera lee(Sistema sistema, int id);
    // The id of the document with that folio; throws when there is none or several.
    int busca(Sistema sistema, const QString &folio);

private:
    struct Impl;
    std::unique_ptr<Impl> d;
    bool m_confirma = true;
    bool m_mueveExistencias = true;

    template<typename F>
    auto operacion(F &&f);
};

} // namespace microsip
