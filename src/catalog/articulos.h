#pragma once

#include <QDate>
#include <QString>
#include <QStringList>

#include <functional>
#include <optional>

namespace fb {
class Error;
}

namespace lar {

class MemTable;
class Sesion;

// The fields of the article list, in order: what the grid of the articles with
// points shows and the save writes back.
namespace art {
enum Campo {
    ARTICULO_ID,
    CLAVE_ARTICULO, // the principal key, or all keys joined by '^'
    NOMBRE,
    ES_ALMACENABLE,
    ES_JUEGO,
    ESTATUS,
    LINEA,
    UNIDAD_VENTA,
    UNIDAD_COMPRA,
    FECHA_ULTIMA_COMPRA,
    GRUPO,
    PUNTOS,
    VALOR_PUNTOS,
    Existencia,
};
} // namespace art

// Defines the fields of mArt (the table must be closed).
void DefineArticulos(MemTable &mArt);
// Adds the five indexes of a loaded list: iID, iArticulo, iClave, iLin, iGrp.
void IndexaArticulos(MemTable &mArt);

// "Activo", "Susp. compras"...; any other status shows as it is.
QString TextoEstatus(const QString &estatus);

// The first of the keys joined by '^' that holds all the words (each match cut out
// before the next word is sought; keys are not upper-cased); the first key when
// there are no words; empty when none does.
QString ClaveQueCoincide(const QString &claves, const QStringList &palabras);
// Whether any single key of the joined keys holds all the words.
bool ClavesCoinciden(QStringView claves, const QStringList &palabras);

// The conditions of the bulk-add dialog.
struct FiltroAgregar
{
    bool todos = true;
    bool porPrecio = false; // price changed between fecha1 and fecha2
    QDate fecha1, fecha2;
    bool porClasificador = false;
    int clasificadorId = 0;
    bool porLinea = false;
    int lineaId = 0;
    // One number for all the rows, instead of the stored one.
    std::optional<int> puntos;
    std::optional<int> valorPuntos;
};

// What one load of the list asks for: the chooser's flags and the form's state.
struct OpcionesCarga
{
    bool clavesAlternas = false; // key column with all keys joined by '^'
    bool soloPorPuntos = false;  // redemption: only what the points can pay
    int puntosDisponibles = 0;
    bool soloNoAlmacenables = false;
    bool soloAlmacenables = false;
    int almacenId = 0;              // 0: no stock is read
    bool soloConExistencia = false; // chkExist checked and in sight
    bool soloExistentes = false;
    std::optional<FiltroAgregar> agregar; // the load of the bulk-add dialog
};

// The statement of a load, line by line.
QStringList SqlArticulos(const OpcionesCarga &op);

// Text of a database error of the save, by the engine's code.
QString TextoErrorDatos(const fb::Error &e);

// The reading and writing of the article list, apart from its screen.
class ArticulosPuntos
{
public:
    explicit ArticulosPuntos(Sesion &sesion);

    // Empties mArt and loads it; every 35 rows, when more than the threshold (3 s the
    // first time, then 0.6 s) went by since the last call, avance gets the rows read
    // so far (the screen shows them and serves the interface). Returns the rows kept.
    int carga(MemTable &mArt, const OpcionesCarga &op, const std::function<void(int)> &avance = {});

    // Appends one article with the given points. articuloId 0: sought by key.
    enum class Agrega { Agregado, NoEncontrado, SinRenglon };
    Agrega agrega(MemTable &mArt,
                  const OpcionesCarga &op,
                  const QString &clave,
                  int articuloId,
                  const QVariant &valorPuntos,
                  const QVariant &puntos);

    // Article ids by exact name and by exact key; 0 when there is none.
    int articuloPorNombre(const QString &nombre);
    int articuloPorClave(const QString &clave);

    // Writes PUNTOS and VALOR_PUNTOS of the rows in sight (nulls as 0) in one
    // transaction. On failure nothing is written, mArt is untouched, and the
    // message and its caption come back.
    struct Falla
    {
        QString texto;
        QString titulo;
    };
    std::optional<Falla> guarda(MemTable &mArt);

private:
    int buscaId(const QString &sql, const QString &valor);

    Sesion &m_s;
};

} // namespace lar
