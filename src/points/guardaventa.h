#pragma once

#include <QChar>
#include <QDateTime>
#include <QList>
#include <QString>

namespace lar {

class Sesion;

// One line of a redemption, as the capture's mDet holds it.
struct LineaCanje
{
    int articuloId = 0; // counts only above 0
    QString clave;
    QString nombre;
    int unidades = 0;
    int valorPuntos = 0; // of one unit
    int totalPuntos = 0; // of the whole line
    int partida = 0;
    double contUC = 1; // contenido_unidad_compra
    double costoUltimaCompra = 0;
    bool almacenable = true;
};

// What a save needs of the capture.
struct Canje
{
    int clienteId = 0;
    QString txtCliente; // as shown: goes into the description
    int almacenId = -1; // -1: none selected
    QString centroCosto = QStringLiteral("--1");
    bool esNueva = true;
    QChar metodoCosteo = QLatin1Char('C');
    QList<LineaCanje> lineas; // in grid order
};

// A notice for the screen: MuestraAviso(texto, clase). clase "Verificar" shows nothing.
struct AvisoCanje
{
    enum Foco { Ninguno, Cliente, Almacen };
    QString texto;
    QString clase;
    Foco foco = Ninguno;
    bool vacio() const { return texto.isEmpty(); }
};

// The save, cancel and reopening of a redemption: a stock issue in Microsip's
// DOCTOS_IN / DOCTOS_IN_DET, applied so that Microsip's triggers move the stock, and one
// LAR_PUNTOS row ('C', 'S', 'IN') per line, all in one transaction of fbUpdateTrans.
// The ledger and the issue are tied by DOCTO_ID = DOCTO_IN_ID and by the folio.
class GuardaVenta
{
public:
    struct Resultado
    {
        bool ok = false;
        AvisoCanje aviso; // an expected refusal (validation, folios)
        // A database exception: the engine's text; enPuntos when it came from the
        // ledger inserts (shown with caption "Error"), else from the issue.
        QString error;
        bool enPuntos = false;
        // An exception in the issue (folio, header, lines, apply) is not rolled back:
        // fbUpdateTrans stays active with what was written, and the next commit on it,
        // a later save or a customer lock operation, makes that durable.
        bool pendiente = false;
        int doctoId = 0;
        QString folioDocto;      // the ledger's folio, padded to 9
        QString folioEncabezado; // DOCTOS_IN.FOLIO as written (empty: tickets only)
        bool soloBoletos = false;
    };

    // State of one save between its steps.
    struct Estado
    {
        int conceptoId = 0;
        QString vFolio;
        int doctoNuevoId = 0;
        QString folioDocto;
        QString folioEncabezado;
        bool soloBoletos = false;
    };

    explicit GuardaVenta(Sesion &sesion);

    // The whole save in one transaction: committed when everything went through,
    // rolled back otherwise (nothing half-written, the capture intact).
    Resultado guarda(const Canje &canje);

    // The steps, each inside the caller's fbUpdateTrans.
    AvisoCanje ValidaVenta(const Canje &canje) const;
    // Folio, header, lines and apply. False with aviso on an expected refusal;
    // database errors throw.
    bool GuardaDoctoIn(const Canje &canje, Estado &estado, AvisoCanje &aviso);
    bool AsignaFolio(int conceptoId, QString &vFolio, AvisoCanje &aviso);
    bool ExisteFolioIn(int conceptoId, const QString &folio);
    void GuardaPuntos(const Canje &canje, const Estado &estado);

    // Ticket article of the settings ("ArtBoleto"), 0 for none, and its units in lineas.
    static int unidadesBoleto(const QList<LineaCanje> &lineas, int artBoletoId);

private:
    Sesion &m_sesion;
};

// A saved redemption read back from the ledger.
struct VentaCargada
{
    bool existe = false;
    int clienteId = 0;
    QString cliente;                         // the customer's name
    QString almacen = QStringLiteral("--1"); // warehouse id, "--1" without an issue
    QString nombreAlmacen;
    bool cancelada = false;
    int totalPuntos = 0;
    int saldo = 0;
    QList<LineaCanje> lineas;
};
VentaCargada CargaVenta(Sesion &sesion, int doctoId);

// Cancels a redemption: the issue marked cancelled (Microsip's trigger takes the
// stock back) and every ledger row of the number rewritten to 'X'. An empty text on
// success, the engine's text otherwise (both updates undone).
QString CancelaVenta(Sesion &sesion, int doctoId);

// The customer lock LAR_DATOSCLTE, a convention between stations: each operation
// commits at once so that the others see it.
struct BloqueoCliente
{
    bool existe = false;
    QString usuario;
    QDateTime fecha;
};
BloqueoCliente LeeBloqueo(Sesion &sesion, int clienteId);
void BloqueaCliente(Sesion &sesion, int clienteId, const QString &clave, const QString &nombre);
// Only one's own lock goes.
void LiberaCliente(Sesion &sesion, int clienteId);
// Whoever holds it.
void LiberaClienteForzado(Sesion &sesion, int clienteId);

} // namespace lar
