#include "listas.h"

#include "flista.h"

#include "fb/query.h"
#include "fb/sqltext.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"

#include <QApplication>

namespace lar {

ColLista ParseColLista(const QString &spec)
{
    // Each field runs up to the next comma; the width is all that follows the third.
    ColLista c;
    const qsizetype c1 = spec.indexOf(u',');
    c.campo = c1 < 0 ? spec : spec.left(c1);
    QString rest = c1 < 0 ? QString() : spec.mid(c1 + 1);
    const qsizetype c2 = rest.indexOf(u',');
    const QString busqueda = c2 < 0 ? rest : rest.left(c2);
    rest = c2 < 0 ? QString() : rest.mid(c2 + 1);
    const qsizetype c3 = rest.indexOf(u',');
    const QString titulo = c3 < 0 ? rest : rest.left(c3);
    const QString ancho = c3 < 0 ? QString() : rest.mid(c3 + 1);

    if (busqueda.isEmpty())
        c.busqueda = c.campo;
    else if (busqueda == u"-")
        c.busqueda.clear();
    else if (busqueda == u"--")
        c.porTitulo = true;
    else
        c.busqueda = busqueda;
    c.titulo = titulo.isEmpty() ? c.campo : titulo;

    if (!ancho.isEmpty()) {
        bool ok = false;
        const int w = ancho.trimmed().toInt(&ok);
        if (!ok)
            throw MemTableError(QStringLiteral("'%1' no es un valor entero válido").arg(ancho));
        c.ancho = w == 0 ? 100 : (w == -1 ? 0 : w);
    }
    return c;
}

QString CondicionLike(const QString &campo,
                      const QString &texto,
                      const QString &operador,
                      bool mayusculas,
                      const QString &comodin)
{
    const QString t = mayusculas ? texto.toUpper() : texto;
    ListaPartesLike = t.isEmpty() ? QStringList() : t.split(comodin, Qt::KeepEmptyParts);
    QStringList terminos;
    for (qsizetype k = 0; k < ListaPartesLike.size(); ++k) {
        // The parts are the user's text: quotes doubled, so O'Brien is sought.
        QString s = campo + u' ' + operador + QStringLiteral(" '") + comodin
                    + fb::escapeLiteral(ListaPartesLike[k]) + comodin;
        for (qsizetype j = 0; j < ListaPartesLike.size(); ++j) {
            if (j != k)
                s += fb::escapeLiteral(ListaPartesLike[j]) + comodin;
        }
        terminos << s + u'\'';
    }
    return terminos.join(QStringLiteral(" OR "));
}

int BusquedaInicial(int items, int busqueda)
{
    int i;
    if (ListaBusquedaIni != -1)
        i = ListaBusquedaIni;
    else if (busqueda >= 0)
        i = busqueda;
    else
        i = items == 0 ? -1 : (items == 1 ? 0 : 1);
    return std::clamp(i, -1, items - 1);
}

namespace {

QWidget *ventanaActiva()
{
    return QApplication::activeWindow();
}

int corre(TFLista &f, int preparado)
{
    if (preparado >= 0)
        return preparado;
    return f.exec() == QDialog::Accepted ? 1 : 2;
}

} // namespace

int MuestraLista(Sesion &sesion,
                 const QString &tabla,
                 const QString &titulo,
                 const QString &condicion,
                 int busqueda)
{
    int r = 2;
    {
        TFLista f(ventanaActiva());
        r = corre(f, f.preparaLista(sesion, tabla, titulo, condicion, busqueda));
    }
    ListaClave = ListaValor1;
    ListaNombre = ListaValor2;
    return r;
}

int MuestraListaDS(MemTable &dataSet, const QString &titulo, const QString &condicion, int busqueda)
{
    TFLista f(ventanaActiva());
    return corre(f, f.preparaDS(dataSet, titulo, condicion, busqueda));
}

int MuestraListaCh(MemTable &dataSet,
                   const QString &titulo,
                   const QString &condicion,
                   bool conCasillas,
                   int busqueda)
{
    TFListaCh f(ventanaActiva());
    return corre(f, f.preparaCh(dataSet, titulo, condicion, conCasillas, busqueda));
}

// --- Loaders ------------------------------------------------------------------------------

namespace {

void campoSiFalta(MemTable &mem, const QString &nombre, FieldType tipo, int tam)
{
    if (mem.fieldIndex(nombre) < 0)
        mem.addField(nombre, tipo, tam);
}

void cargaLista(MemTable &mem, fb::Query &query, const QStringList &sql, bool conLimite)
{
    BloqueoControles bloqueo(mem);
    mem.close();
    mem.deleteIndexes();
    mem.setIndexFieldNames(QString());
    if (mem.fieldCount() == 0) {
        campoSiFalta(mem, QStringLiteral("id"), FieldType::Integer, 0);
        campoSiFalta(mem, QStringLiteral("clave"), FieldType::String, 300);
        campoSiFalta(mem, QStringLiteral("nombre"), FieldType::String, 200);
        if (conLimite)
            campoSiFalta(mem, QStringLiteral("limite_credito"), FieldType::Currency, 2);
    }
    mem.open();
    const int fId = mem.fieldByName(QStringLiteral("id")).index();
    const int fClave = mem.fieldByName(QStringLiteral("clave")).index();
    const int fNombre = mem.fieldByName(QStringLiteral("nombre")).index();
    int fLimite = -1;
    if (conLimite) {
        fLimite = mem.fieldIndex(QStringLiteral("limite_credito"));
        if (fLimite < 0)
            fLimite = mem.fieldIndex(QStringLiteral("LimCredito"));
    }
    query.close();
    query.clearSql();
    for (const QString &linea : sql)
        query.addSql(linea);
    for (query.open(); !query.eof(); query.next()) {
        mem.append();
        mem.field(fId).setValue(query.field(0).toVariant());
        for (const auto &[campo, col] : {std::pair{fClave, 1}, std::pair{fNombre, 2}}) {
            const fb::Field f = query.field(col);
            mem.field(campo).setValue(f.isNull() ? QVariant() : QVariant(f.toTrimmed()));
        }
        if (fLimite >= 0)
            mem.field(fLimite).setValue(QVariant::fromValue(query.field(3).toDecimal()));
        mem.post();
    }
    query.close();
    mem.addIndex(QStringLiteral("iNombre"), QStringLiteral("nombre"));
    mem.addIndex(QStringLiteral("iClave"), QStringLiteral("clave"));
    mem.setIndexName(QStringLiteral("iNombre"));
}

QStringList sqlClientes(bool empleados)
{
    // With the join, a bare cliente_id is ambiguous to Firebird 3: name the table.
    QStringList s{empleados ? QStringLiteral("SELECT c.cliente_id,")
                            : QStringLiteral("SELECT cliente_id,"),
                  QStringLiteral("  (select upper(list(clave_cliente,'^'))"),
                  QStringLiteral("   from claves_clientes v"),
                  QStringLiteral(
                      "     join roles_claves_clientes r on r.rol_clave_cli_id=v.rol_clave_cli_id"),
                  QStringLiteral("   where v.cliente_id = c.cliente_id ) clave,"),
                  QStringLiteral("   nombre, limite_credito"),
                  QStringLiteral("FROM clientes c")};
    if (empleados)
        s << QStringLiteral("  JOIN LIBRES_CLIENTES L ON c.cliente_id = l.cliente_id");
    s << QStringLiteral("WHERE c.estatus = 'A'");
    if (empleados)
        s << QStringLiteral("and l.empleado_puntos = 'S'")
          << QStringLiteral("and l.ACTIVO_PUNTOS = 'S' ");
    return s;
}

void llenaPar(const QString &tabla,
              const QString &idCampo,
              const QString &nombreCampo,
              fb::Query &query,
              MemTable &mem,
              bool ordenado)
{
    mem.close();
    mem.clearFields();
    FieldDef id;
    id.name = idCampo;
    id.displayLabel = idCampo;
    id.type = FieldType::Integer;
    mem.addField(id);
    FieldDef nombre;
    nombre.name = nombreCampo;
    nombre.displayLabel = nombreCampo;
    nombre.type = FieldType::String;
    nombre.size = 30;
    mem.addField(nombre);
    mem.open();
    query.close();
    query.clearSql();
    query.addSql(QStringLiteral("SELECT ") + idCampo + u',' + nombreCampo);
    query.addSql(QStringLiteral("FROM ") + tabla);
    if (ordenado)
        query.addSql(QStringLiteral("ORDER BY 2"));
    {
        BloqueoControles bloqueo(mem);
        query.open();
        mem.loadFromQuery(query);
        query.close();
    }
    mem.first();
}

} // namespace

void CargaListaCat(const QString &tipo, MemTable &mem, fb::Query &query)
{
    if (tipo == u"clientes") {
        cargaLista(mem, query, sqlClientes(false), true);
    } else if (tipo == u"clientesPE") {
        cargaLista(mem, query, sqlClientes(true), true);
    } else if (tipo == u"empleados") {
        cargaLista(mem,
                   query,
                   {QStringLiteral("select e.empleado_id,e.numero, e.nombre_completo"),
                    QStringLiteral("from empleados e"),
                    QStringLiteral("where e.estatus = 'A'")},
                   false);
    }
}

void LlenaCombo(const QString &tabla,
                const QString &idCampo,
                const QString &nombreCampo,
                fb::Query &query,
                MemTable &mem,
                LookupCombo *combo)
{
    if (combo)
        combo->setLookup(nullptr, idCampo, nombreCampo);
    llenaPar(tabla, idCampo, nombreCampo, query, mem, true);
    if (!combo)
        return;
    combo->setLookup(&mem, idCampo, nombreCampo);
    const MemField id = mem.field(0);
    if (!mem.isEmpty() && !id.isNull())
        combo->setKeyValue(id.value());
}

void LlenaMem(const QString &tabla,
              const QString &idCampo,
              const QString &nombreCampo,
              fb::Query &query,
              MemTable &mem)
{
    llenaPar(tabla, idCampo, nombreCampo, query, mem, false);
}

} // namespace lar
