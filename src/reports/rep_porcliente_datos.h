#pragma once

#include <QDate>
#include <QString>

#include <optional>

namespace lar {

class MemTable;
class Sesion;

// The sale sources the reports read, from the settings when a screen opens.
struct FuentesVenta
{
    bool puntoDeVenta = false; // "Puntos General Activo"
    bool ventas = false;       // "Puntos Ventas"
};

// A customer found by its key.
struct ClienteClave
{
    int id = 0;
    QString nombre;
    QString clave;
};

// What the three report screens read and the one row they write: the period of
// LAR_REPORTES, which the print forms read after the fact.
class DatosReportes
{
public:
    explicit DatosReportes(Sesion &sesion)
        : m_s(sesion)
    {}

    FuentesVenta leeFuentes();

    // Updates the row of LAR_REPORTES, or creates it with articuloId (NOT NULL)
    // when there is none. Empty on success, else the server's message.
    QString guardaPeriodo(const QDate &inicio, const QDate &fin, int articuloId);

    // The customers with their principal key (null when they have none), by name,
    // into ID, Nombre, CLAVE.
    void cargaClientes(MemTable &clientes);
    // An active customer by any of its keys.
    std::optional<ClienteClave> clientePorClave(const QString &clave);

    // Appends the customer's sales of the period, point of sale first; cancelled
    // documents are left out. Returns the rows appended.
    int cargaCompras(
        MemTable &detalle, int clienteId, const QDate &inicio, const QDate &fin, FuentesVenta f);
    // Up to 100 articles from each source by units sold, of one customer or of
    // all (cliente empty); cancelled documents count.
    int cargaArticulos(MemTable &articulos,
                       std::optional<int> cliente,
                       const QDate &inicio,
                       const QDate &fin,
                       FuentesVenta f);
    // The active customers with their main address, city and state.
    int cargaDirecciones(MemTable &busqueda);

private:
    Sesion &m_s;
};

// The fields of the screens' tables.
void DefineDetalleCompras(MemTable &t);    // mDetalle
void DefineArticulosVendidos(MemTable &t); // mArt
void DefineDirecciones(MemTable &t);       // mBusqueda
void DefineClientes(MemTable &t);          // mClientes

} // namespace lar
