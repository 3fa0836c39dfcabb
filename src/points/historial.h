#pragma once

#include <QDate>
#include <QString>

#include <optional>

namespace lar {

class MemTable;
class Sesion;

// The points history: the ledger read as a person reads it, in four cases, and
// its workbook. Writes nothing to the database.
class HistorialPuntos
{
public:
    enum Caso {
        Ninguno = 0,
        Kardex = 1,           // all rows of one customer
        CanjesCliente = 2,    // the redemptions of one customer
        CanjesTodos = 3,      // the redemptions of all, with their lines apart
        MovimientosTodos = 4, // document movements of all, summed by folio
    };

    // The first case that fits; a customer chosen outranks "all customers".
    static Caso CasoDe(bool hayCliente, bool canjes, bool todos);
    // The statement that fills mKardex in the case (parameters :cliente, :fechaI and
    // :fecha, or :fecha1 and :fecha2 in case 3); empty for Ninguno.
    static QString Sentencia(Caso caso);
    // Caption of the grid's second column.
    static QString TituloColumna(Caso caso);
    // The text of Documento in case 4, by TIPO_DOCTO and NATURALEZA; empty for
    // any other pair.
    static QString DocumentoDe(const QString &tipo, const QString &naturaleza);

    // The fields of mKardex (Puntos, Folio, Fecha, Articulo, Documento, Estatus,
    // clte_id) and of mKardex2 (PUNTOS, FOLIO, FECHA, ARTICULO, PARTIDA).
    static void PreparaKardex(MemTable &kardex);
    static void PreparaKardex2(MemTable &kardex2);

    struct Cliente
    {
        int id = 0;
        QString clave;
        QString nombre;
    };

    explicit HistorialPuntos(Sesion &sesion);

    // An active customer by any of its keys.
    std::optional<Cliente> BuscaCliente(const QString &clave);
    int Saldo(int cliente);

    // Fills kardex (sorted on Fecha) by the case; case 3 also fills kardex2 with
    // the lines of the same redemptions. Database errors go to the caller.
    void Consulta(Caso caso,
                  int cliente,
                  const QDate &desde,
                  const QDate &hasta,
                  MemTable &kardex,
                  MemTable &kardex2);

    // What the workbook shows besides the rows.
    struct Libro
    {
        Caso caso = Ninguno;
        QDate desde;
        QDate hasta;
        QString cliente; // cases 1 and 2
        int saldo = 0;   // cases 1 and 2
    };
    // Writes kardex as a workbook (columns A to E, title in B1, headers in row 3,
    // rows from row 4; in case 3 each redemption followed by its lines from
    // kardex2). False when the file can't be written.
    static bool
    EscribeLibro(const QString &archivo, const Libro &libro, MemTable &kardex, MemTable &kardex2);

private:
    Sesion &m_sesion;
};

} // namespace lar
