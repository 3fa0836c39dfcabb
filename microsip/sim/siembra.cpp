#include "siembra.h"

#include "catalogo_p.h"
#include "inventario_p.h"
#include "lote.h"
#include "sql_p.h"

#include "fb/database.h"
#include "fb/decimal.h"
#include "fb/error.h"
#include "fb/query.h"
#include "fb/transaction.h"

#include <QDateTime>
#include <QFile>

#include <deque>
#include <numeric>

namespace microsip {

using detail::Lote;

namespace {

// splitmix64: the same numbers on every platform, unlike the distributions of <random>.
class Azar
{
public:
    explicit Azar(quint64 semilla)
        : m_s(semilla)
    {}
    quint64 siguiente()
    {
        quint64 z = (m_s += 0x9E3779B97F4A7C15ULL);
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9ULL;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EBULL;
        return z ^ (z >> 31);
    }
    // In [a, b].
    int entre(int a, int b) { return a + int(siguiente() % quint64(b - a + 1)); }
    bool porCiento(int p) { return entre(1, 100) <= p; }
    // Skewed towards the low end: the good customers buy more often.
    int sesgado(int n)
    {
        const double u = double(siguiente() >> 11) / double(1ULL << 53);
        return std::min(n - 1, int(n * u * u));
    }
    template<typename T>
    const T &de(const std::vector<T> &v)
    {
        return v[size_t(entre(0, int(v.size()) - 1))];
    }

private:
    quint64 m_s;
};

QString texto(const char16_t *t)
{
    return QString::fromUtf16(t);
}

QVariant dec(qint64 unscaled, int scale)
{
    return QVariant::fromValue(fb::Decimal(unscaled, scale));
}

QVariant nulo()
{
    return QVariant();
}

// A bijection of [0, n): spreads consecutive indexes over the whole space of names,
// so that a small seed looks as varied as a big one and no name repeats.
qint64 dispersa(qint64 i, qint64 n)
{
    qint64 a = 7919;
    while (std::gcd(a, n) != 1)
        ++a;
    return (a * i + 104729) % n;
}

struct Articulo
{
    int id;
    QString clave;
    qint64 precioCentavos; // without tax
    bool almacenable;
    bool vendible;
    bool granel;
    qint64 costoCentavos;
};

struct Renglon
{
    int articulo;
    qint64 unidadesMilesimas;
};

class Sembrador
{
public:
    Sembrador(fb::Database &db, const OpcionesSiembra &op)
        : m_db(db)
        , m_op(op)
        , m_tr(&db)
        , m_hasta(op.hasta.isValid() ? op.hasta : QDate::currentDate())
        , m_desde(m_hasta.addDays(1 - op.dias))
    {}

    void siembra()
    {
        fb::TransactionGuard guardia(m_tr);
        verificaVacia();
        m_foliosConceptos = detail::tieneFoliosConceptos(m_db, m_tr);
        m_sucursalEnDoctos = detail::existeCampo(
            m_db, m_tr, QStringLiteral("DOCTOS_PV"), QStringLiteral("SUCURSAL_ID"));
        lugares();
        sucursalesYAlmacenes();
        personas();
        clientes();
        articulos();
        conceptos();
        existencias();
        documentos();
        facturasElectronicas();
        guardia.commit();
    }

private:
    // The first sales documents get their stamped CFDI, one of each version, and
    // the first inventory document a received one.
    void facturasElectronicas()
    {
        auto ids = [&](const QString &sql) {
            QList<int> r;
            fb::Query q(&m_db, &m_tr);
            q.setSql(sql);
            for (q.open(); !q.eof(); q.next())
                r << q.field(0).toInt();
            return r;
        };
        const QList<int> ventas
            = ids(QStringLiteral("select first 3 docto_ve_id from doctos_ve order by docto_ve_id"));
        const QStringList versiones = versionesCfdi();
        for (int i = 0; i < ventas.size(); ++i) {
            const QString xml = documentoCfdi(versiones.at(i));
            fb::Query q(&m_db, &m_tr);
            q.setSql(QStringLiteral("insert into usos_folios_fiscales (uso_folio_id, sistema, "
                                    "docto_id, uuid, xml) values (-1, 'VE', ?, ?, ?)"));
            q.bind(0, ventas.at(i));
            q.bind(1, xml.section(QStringLiteral(" UUID=\""), 1).section(u'"', 0, 0));
            q.bind(2, xml);
            q.execute();
        }
        const QList<int> entradas
            = ids(QStringLiteral("select first 1 docto_in_id from doctos_in order by docto_in_id"));
        if (!entradas.isEmpty()) {
            fb::Query q(&m_db, &m_tr);
            q.setSql(QStringLiteral(
                "insert into cfd_recibidos (cfd_recibido_id, docto_id, xml) values (-1, ?, ?)"));
            q.bind(0, entradas.first());
            q.bind(1, documentoCfdi(QStringLiteral("3.2")));
            q.execute();
        }
    }

    void avance(const QString &linea)
    {
        if (m_op.avance)
            m_op.avance(linea);
    }

    void ejecuta(const QString &sql)
    {
        fb::Query q(&m_db, &m_tr);
        q.setSql(sql);
        q.execute();
    }

    void verificaVacia()
    {
        fb::Query q(&m_db, &m_tr);
        q.setSql(QStringLiteral("SELECT (SELECT COUNT(*) FROM CLIENTES) + (SELECT COUNT(*) FROM"
                                " ARTICULOS) FROM RDB$DATABASE"));
        q.open();
        if (q.field(0).toInt() > 0)
            throw fb::Error(QStringLiteral("La empresa ya tiene clientes o artículos: la siembra "
                                           "es para una empresa recién creada."));
    }

    int ids(int cuantos, const QString &secuencia = QStringLiteral("ID_CATALOGOS"))
    {
        return cuantos > 0 ? detail::reservaIds(m_db, m_tr, secuencia, cuantos) : 0;
    }

    // One catalogue id, from blocks reserved ahead: a round trip per row would
    // dominate a big seed.
    int idCatalogo()
    {
        if (m_idsLibres == 0) {
            m_idsLibres = 5000;
            m_siguienteId = ids(m_idsLibres);
        }
        --m_idsLibres;
        return m_siguienteId++;
    }

    void lugares()
    {
        Lote estados(m_db,
                     m_tr,
                     QStringLiteral("ESTADOS"),
                     {{QStringLiteral("ESTADO_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(50)")}});
        const int primerEstado = ids(int(detail::estados().size()));
        for (size_t i = 0; i < detail::estados().size(); ++i)
            estados.agrega({primerEstado + int(i), texto(detail::estados()[i])});
        estados.termina();
        Lote ciudades(m_db,
                      m_tr,
                      QStringLiteral("CIUDADES"),
                      {{QStringLiteral("CIUDAD_ID"), QStringLiteral("INTEGER")},
                       {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(50)")},
                       {QStringLiteral("ESTADO_ID"), QStringLiteral("INTEGER")}});
        const int primeraCiudad = ids(int(detail::ciudades().size()));
        for (size_t i = 0; i < detail::ciudades().size(); ++i) {
            const detail::Ciudad &c = detail::ciudades()[i];
            ciudades.agrega({primeraCiudad + int(i), texto(c.nombre), primerEstado + c.estado});
            m_ciudades.push_back({primeraCiudad + int(i), primerEstado + c.estado});
        }
        ciudades.termina();
        avance(QStringLiteral("Estados y ciudades: %1, %2")
                   .arg(detail::estados().size())
                   .arg(detail::ciudades().size()));
    }

    void sucursalesYAlmacenes()
    {
        fb::Query q(&m_db, &m_tr);
        q.setSql(QStringLiteral("INSERT INTO SUCURSALES (SUCURSAL_ID, NOMBRE, ES_MATRIZ)"
                                " VALUES (-1, :n, :m) RETURNING SUCURSAL_ID"));
        q.bind(QStringLiteral("n"), QStringLiteral("Matriz Monterrey"));
        q.bind(QStringLiteral("m"), true);
        q.execute();
        m_sucursal = q.field(0).toInt();
        q.bind(QStringLiteral("n"), QStringLiteral("Sucursal San Nicolás"));
        q.bind(QStringLiteral("m"), false);
        q.execute();

        q.setSql(
            QStringLiteral("INSERT INTO ALMACENES (ALMACEN_ID, NOMBRE, NOMBRE_ABREV, ES_PREDET)"
                           " VALUES (-1, :n, :a, :p) RETURNING ALMACEN_ID"));
        const auto &nombres = detail::almacenes();
        for (int i = 0; i < m_op.almacenes; ++i) {
            QString nombre = texto(nombres[size_t(i) % nombres.size()]);
            if (size_t(i) >= nombres.size())
                nombre += QStringLiteral(" %1").arg(i / int(nombres.size()) + 1);
            q.bind(QStringLiteral("n"), nombre);
            q.bind(QStringLiteral("a"), nombre.left(30));
            q.bind(QStringLiteral("p"), i == 0 ? QStringLiteral("S") : QStringLiteral("N"));
            q.execute();
            m_almacenes.push_back(q.field(0).toInt());
        }
        avance(QStringLiteral("Almacenes: %1").arg(m_op.almacenes));
    }

    QString nombrePersona(Azar &a)
    {
        return texto(a.de(detail::nombresPila())) + u' ' + texto(a.de(detail::apellidos())) + u' '
               + texto(a.de(detail::apellidos()));
    }

    // Cashiers and sellers: an id and a person's name each; returns the ids.
    std::vector<int>
    catalogoDeNombres(Azar &a, const QString &tabla, const QString &campoId, int cuantos)
    {
        Lote lote(m_db,
                  m_tr,
                  tabla,
                  {{campoId, QStringLiteral("INTEGER")},
                   {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(50)")}});
        std::vector<int> hechos;
        const int primero = ids(cuantos);
        for (int i = 0; i < cuantos; ++i) {
            lote.agrega({primero + i, nombrePersona(a)});
            hechos.push_back(primero + i);
        }
        lote.termina();
        return hechos;
    }

    void personas()
    {
        Azar a(m_op.semilla * 31 + 1);
        m_cajeros = catalogoDeNombres(
            a, QStringLiteral("CAJEROS"), QStringLiteral("CAJERO_ID"), m_op.cajeros);
        m_vendedores = catalogoDeNombres(
            a, QStringLiteral("VENDEDORES"), QStringLiteral("VENDEDOR_ID"), m_op.vendedores);

        Lote empleados(m_db,
                       m_tr,
                       QStringLiteral("EMPLEADOS"),
                       {{QStringLiteral("EMPLEADO_ID"), QStringLiteral("INTEGER")},
                        {QStringLiteral("NUMERO"), QStringLiteral("INTEGER")},
                        {QStringLiteral("NOMBRE_COMPLETO"), QStringLiteral("VARCHAR(100)")},
                        {QStringLiteral("ESTATUS"), QStringLiteral("CHAR(1)")}});
        const int primerEmpleado = ids(m_op.empleados);
        for (int i = 0; i < m_op.empleados; ++i)
            empleados.agrega({primerEmpleado + i,
                              100 + i,
                              nombrePersona(a),
                              a.porCiento(8) ? QStringLiteral("B") : QStringLiteral("A")});
        empleados.termina();
        avance(QStringLiteral("Cajeros, vendedores y empleados: %1, %2, %3")
                   .arg(m_op.cajeros)
                   .arg(m_op.vendedores)
                   .arg(m_op.empleados));
    }

    int rolCliente(const QString &nombre, bool principal)
    {
        fb::Query q(&m_db, &m_tr);
        q.setSql(
            QStringLiteral("SELECT ROL_CLAVE_CLI_ID FROM ROLES_CLAVES_CLIENTES WHERE NOMBRE = :n"));
        q.bind(QStringLiteral("n"), nombre);
        q.open();
        if (!q.eof())
            return q.field(0).toInt();
        q.close();
        q.setSql(QStringLiteral("INSERT INTO ROLES_CLAVES_CLIENTES (ROL_CLAVE_CLI_ID, NOMBRE,"
                                " ES_PPAL, ES_GLN) VALUES (-1, :n, :p, 'N')"
                                " RETURNING ROL_CLAVE_CLI_ID"));
        q.bind(QStringLiteral("n"), nombre);
        q.bind(QStringLiteral("p"), principal ? QStringLiteral("S") : QStringLiteral("N"));
        q.execute();
        return q.field(0).toInt();
    }

    void clientes()
    {
        Azar a(m_op.semilla * 31 + 2);
        const int rolPrincipal = rolCliente(QStringLiteral("Clave principal"), true);
        // The points card; the extension's upgrade adds this role when it is missing.
        const int rolPuntos = rolCliente(QStringLiteral("Clave Puntos"), false);
        const int rolRfc = rolCliente(QStringLiteral("RFC"), false);

        Lote clientes(m_db,
                      m_tr,
                      QStringLiteral("CLIENTES"),
                      {{QStringLiteral("CLIENTE_ID"), QStringLiteral("INTEGER")},
                       {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(200)")},
                       {QStringLiteral("ESTATUS"), QStringLiteral("CHAR(1)")},
                       {QStringLiteral("LIMITE_CREDITO"), QStringLiteral("NUMERIC(15,2)")}});
        Lote claves(m_db,
                    m_tr,
                    QStringLiteral("CLAVES_CLIENTES"),
                    {{QStringLiteral("CLAVE_CLIENTE_ID"), QStringLiteral("INTEGER")},
                     {QStringLiteral("CLIENTE_ID"), QStringLiteral("INTEGER")},
                     {QStringLiteral("CLAVE_CLIENTE"), QStringLiteral("VARCHAR(20)")},
                     {QStringLiteral("ROL_CLAVE_CLI_ID"), QStringLiteral("INTEGER")}});
        Lote libres(m_db,
                    m_tr,
                    QStringLiteral("LIBRES_CLIENTES"),
                    {{QStringLiteral("CLIENTE_ID"), QStringLiteral("INTEGER")}});
        Lote dirs(m_db,
                  m_tr,
                  QStringLiteral("DIRS_CLIENTES"),
                  {{QStringLiteral("DIR_CLI_ID"), QStringLiteral("INTEGER")},
                   {QStringLiteral("CLIENTE_ID"), QStringLiteral("INTEGER")},
                   {QStringLiteral("NOMBRE_CONSIG"), QStringLiteral("VARCHAR(200)")},
                   {QStringLiteral("CALLE"), QStringLiteral("VARCHAR(430)")},
                   {QStringLiteral("COLONIA"), QStringLiteral("VARCHAR(100)")},
                   {QStringLiteral("CIUDAD_ID"), QStringLiteral("INTEGER")},
                   {QStringLiteral("ESTADO_ID"), QStringLiteral("INTEGER")},
                   {QStringLiteral("TELEFONO1"), QStringLiteral("VARCHAR(35)")},
                   {QStringLiteral("EMAIL"), QStringLiteral("VARCHAR(200)")}});

        claves.despuesDe(clientes);
        libres.despuesDe(clientes);
        dirs.despuesDe(clientes);
        const int n = m_op.clientes;
        const int primero = ids(n);
        const qint64 espacio = qint64(detail::nombresPila().size())
                               * qint64(detail::apellidos().size())
                               * qint64(detail::apellidos().size());
        auto direccion = [&](int cliente, const QString &consignatario, const QString &correo) {
            const Ciudad &c = m_ciudades[size_t(
                a.entre(0, 99) < 60 ? a.entre(0, 6) : a.entre(0, int(m_ciudades.size()) - 1))];
            dirs.agrega(
                {idCatalogo(),
                 cliente,
                 consignatario,
                 QStringLiteral("%1 %2").arg(texto(a.de(detail::calles()))).arg(a.entre(1, 4999)),
                 texto(a.de(detail::colonias())),
                 c.id,
                 c.estado,
                 QStringLiteral("81 %1 %2").arg(a.entre(1000, 9999)).arg(a.entre(1000, 9999)),
                 correo.isEmpty() ? nulo() : QVariant(correo)});
        };
        for (int i = 0; i < n; ++i) {
            const int id = primero + i;
            QString nombre;
            bool publico = i == 0;
            if (publico) {
                // Microsip's point of sale sells to this one when nobody is named.
                nombre = QStringLiteral("Público en general");
            } else {
                const qint64 k = dispersa(i - 1, espacio);
                const qint64 na = qint64(detail::apellidos().size());
                nombre = texto(detail::nombresPila()[size_t(k / (na * na))]) + u' '
                         + texto(detail::apellidos()[size_t((k / na) % na)]) + u' '
                         + texto(detail::apellidos()[size_t(k % na)]);
                if (i - 1 >= espacio)
                    nombre += QStringLiteral(" (%1)").arg((i - 1) / espacio + 1);
            }
            const int estatus = a.entre(1, 100);
            const QString est = publico || estatus <= 94 ? QStringLiteral("A")
                                : estatus <= 97          ? QStringLiteral("B")
                                : estatus <= 99          ? QStringLiteral("C")
                                                         : QStringLiteral("V");
            clientes.agrega(
                {id, nombre, est, dec(publico ? 0 : qint64(a.entre(0, 40)) * 500000, 2)});
            if (est == u"A" && !publico)
                m_clientesActivos.push_back(id);
            if (publico)
                m_publico = id;

            claves.agrega({idCatalogo(),
                           id,
                           QStringLiteral("C%1").arg(i + 1, 6, 10, QChar(u'0')),
                           rolPrincipal});
            if (!publico && a.porCiento(65))
                claves.agrega(
                    {idCatalogo(), id, QStringLiteral("TP%1").arg(10000000 + i), rolPuntos});
            if (!publico && a.porCiento(30))
                claves.agrega({idCatalogo(),
                               id,
                               QStringLiteral("%1%2%3")
                                   .arg(detail::sinAcentos(nombre).left(4).toUpper().remove(u' '))
                                   .arg(a.entre(500101, 991231))
                                   .arg(QStringLiteral("ABC")),
                               rolRfc});
            libres.agrega({id});

            QString correo;
            if (!publico && a.porCiento(80)) {
                const QStringList partes = detail::sinAcentos(nombre).split(u' ');
                correo = QStringLiteral("%1.%2%3@%4")
                             .arg(partes.value(0), partes.value(partes.size() - 2))
                             .arg(a.entre(1, 99))
                             .arg(a.porCiento(50) ? QStringLiteral("correo.ejemplo.mx")
                                                  : QStringLiteral("ejemplo.com.mx"));
            }
            direccion(id, QStringLiteral("Dirección principal"), correo);
            if (!publico && a.porCiento(10))
                direccion(id, QStringLiteral("Dirección de entrega"), QString());
        }
        clientes.termina();
        claves.termina();
        libres.termina();
        dirs.termina();
        if (m_clientesActivos.empty())
            m_clientesActivos.push_back(m_publico);
        avance(QStringLiteral("Clientes: %1").arg(n));
    }

    struct Ciudad
    {
        int id;
        int estado;
    };

    void articulos()
    {
        Azar a(m_op.semilla * 31 + 3);
        fb::Query q(&m_db, &m_tr);
        q.setSql(QStringLiteral("INSERT INTO ROLES_CLAVES_ARTICULOS (ROL_CLAVE_ART_ID, NOMBRE,"
                                " ES_PPAL) VALUES (-1, :n, :p) RETURNING ROL_CLAVE_ART_ID"));
        auto rol = [&](const QString &nombre, bool principal) {
            q.bind(QStringLiteral("n"), nombre);
            q.bind(QStringLiteral("p"), principal ? QStringLiteral("S") : QStringLiteral("N"));
            q.execute();
            return q.field(0).toInt();
        };
        const int rolPrincipal = rol(QStringLiteral("Clave principal"), true);
        const int rolBarras = rol(QStringLiteral("Código de barras"), false);
        const int rolProveedor = rol(QStringLiteral("Clave del proveedor"), false);

        // Groups and lines.
        struct Linea
        {
            int id;
            const detail::LineaDemo *demo;
            int siguienteClave = 1;
        };
        std::vector<Linea> lineas;
        Lote grupos(m_db,
                    m_tr,
                    QStringLiteral("GRUPOS_LINEAS"),
                    {{QStringLiteral("GRUPO_LINEA_ID"), QStringLiteral("INTEGER")},
                     {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(50)")}});
        Lote lotesLineas(m_db,
                         m_tr,
                         QStringLiteral("LINEAS_ARTICULOS"),
                         {{QStringLiteral("LINEA_ARTICULO_ID"), QStringLiteral("INTEGER")},
                          {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(50)")},
                          {QStringLiteral("GRUPO_LINEA_ID"), QStringLiteral("INTEGER")}});
        for (const detail::GrupoDemo &g : detail::grupos()) {
            const int gid = ids(1);
            grupos.agrega({gid, texto(g.nombre)});
            for (const detail::LineaDemo &l : g.lineas) {
                const int lid = ids(1);
                lotesLineas.agrega({lid, texto(l.nombre), gid});
                lineas.push_back({lid, &l});
            }
        }
        const int gServicios = ids(1);
        grupos.agrega({gServicios, QStringLiteral("Servicios")});
        const int lServicios = ids(1);
        lotesLineas.agrega({lServicios, QStringLiteral("Servicios"), gServicios});
        grupos.termina();
        lotesLineas.termina();

        // Classifiers: two, with a value for every article.
        const int cTemporada = ids(1);
        const int cOrigen = ids(1);
        ejecuta(QStringLiteral("INSERT INTO CLASIFICADORES_CAT (CLASIFICADOR_ID, NOMBRE) VALUES"
                               " (%1, 'Temporada')")
                    .arg(cTemporada));
        ejecuta(QStringLiteral("INSERT INTO CLASIFICADORES_CAT (CLASIFICADOR_ID, NOMBRE) VALUES"
                               " (%1, 'Origen')")
                    .arg(cOrigen));
        std::vector<int> valoresTemporada, valoresOrigen;
        q.setSql(QStringLiteral("INSERT INTO CLASIFICADORES_CAT_VALORES (VALOR_CLASIF_ID,"
                                " CLASIFICADOR_ID, VALOR) VALUES (-1, :c, :v)"
                                " RETURNING VALOR_CLASIF_ID"));
        for (const QString &v : {QStringLiteral("Todo el año"),
                                 QStringLiteral("Primavera-verano"),
                                 QStringLiteral("Otoño-invierno")}) {
            q.bind(QStringLiteral("c"), cTemporada);
            q.bind(QStringLiteral("v"), v);
            q.execute();
            valoresTemporada.push_back(q.field(0).toInt());
        }
        for (const QString &v : {QStringLiteral("Nacional"), QStringLiteral("Importación")}) {
            q.bind(QStringLiteral("c"), cOrigen);
            q.bind(QStringLiteral("v"), v);
            q.execute();
            valoresOrigen.push_back(q.field(0).toInt());
        }

        Lote arts(m_db,
                  m_tr,
                  QStringLiteral("ARTICULOS"),
                  {{QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                   {QStringLiteral("NOMBRE"), QStringLiteral("VARCHAR(200)")},
                   {QStringLiteral("ES_ALMACENABLE"), QStringLiteral("CHAR(1)")},
                   {QStringLiteral("ES_JUEGO"), QStringLiteral("CHAR(1)")},
                   {QStringLiteral("ESTATUS"), QStringLiteral("CHAR(1)")},
                   {QStringLiteral("UNIDAD_VENTA"), QStringLiteral("VARCHAR(20)")},
                   {QStringLiteral("UNIDAD_COMPRA"), QStringLiteral("VARCHAR(20)")},
                   {QStringLiteral("CONTENIDO_UNIDAD_COMPRA"), QStringLiteral("NUMERIC(18,5)")},
                   {QStringLiteral("LINEA_ARTICULO_ID"), QStringLiteral("INTEGER")}});
        Lote claves(m_db,
                    m_tr,
                    QStringLiteral("CLAVES_ARTICULOS"),
                    {{QStringLiteral("CLAVE_ARTICULO_ID"), QStringLiteral("INTEGER")},
                     {QStringLiteral("CLAVE_ARTICULO"), QStringLiteral("VARCHAR(20)")},
                     {QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                     {QStringLiteral("ROL_CLAVE_ART_ID"), QStringLiteral("INTEGER")}});
        Lote precios(m_db,
                     m_tr,
                     QStringLiteral("PRECIOS_ARTICULOS"),
                     {{QStringLiteral("PRECIO_ARTICULO_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("PRECIO_EMPRESA_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("MONEDA_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("PRECIO"), QStringLiteral("NUMERIC(18,6)")},
                      {QStringLiteral("FECHA_HORA_ULT_MODIF"), QStringLiteral("TIMESTAMP")}});
        Lote libres(m_db,
                    m_tr,
                    QStringLiteral("LIBRES_ARTICULOS"),
                    {{QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")}});
        Lote clasif(m_db,
                    m_tr,
                    QStringLiteral("ELEMENTOS_CAT_CLASIF"),
                    {{QStringLiteral("ELEMENTO_ID"), QStringLiteral("INTEGER")},
                     {QStringLiteral("VALOR_CLASIF_ID"), QStringLiteral("INTEGER")}});

        claves.despuesDe(arts);
        precios.despuesDe(arts);
        libres.despuesDe(arts);
        clasif.despuesDe(arts);
        // The space of names: line x product x brand x variant x presentation.
        std::vector<qint64> inicioLinea;
        qint64 espacio = 0;
        const qint64 nm = qint64(detail::marcas().size());
        const qint64 nv = qint64(detail::variantes().size());
        for (const Linea &l : lineas) {
            inicioLinea.push_back(espacio);
            espacio += qint64(l.demo->productos.size()) * qint64(l.demo->presentaciones.size()) * nm
                       * nv;
        }

        const int n = m_op.articulos;
        const int nServicios = std::min<int>(int(detail::servicios().size()), n / 50);
        const int primero = ids(n);
        const int primerPrecio = ids(n);
        for (int i = 0; i < n; ++i) {
            const int id = primero + i;
            QString nombre;
            Linea *linea = nullptr;
            int lineaId = lServicios;
            bool almacenable = true;
            QString unidad = QStringLiteral("Pieza");
            qint64 precio = 0;
            bool granel = false;
            if (i < nServicios) {
                nombre = texto(detail::servicios()[size_t(i)]);
                almacenable = false;
                unidad = QStringLiteral("Servicio");
                precio = qint64(a.entre(2, 30)) * 1000;
            } else {
                const qint64 j = i - nServicios;
                const qint64 k = dispersa(j % espacio, espacio);
                size_t li = size_t(std::upper_bound(inicioLinea.begin(), inicioLinea.end(), k)
                                   - inicioLinea.begin())
                            - 1;
                linea = &lineas[li];
                const detail::LineaDemo &d = *linea->demo;
                qint64 r = k - inicioLinea[li];
                const qint64 np = qint64(d.presentaciones.size());
                const QString presentacion = texto(d.presentaciones[size_t(r % np)]);
                r /= np;
                const QString variante = texto(detail::variantes()[size_t(r % nv)]);
                r /= nv;
                const QString marca = texto(detail::marcas()[size_t(r % nm)]);
                r /= nm;
                const QString producto = texto(d.productos[size_t(r)]);
                nombre = producto + u' ' + marca
                         + (variante.isEmpty() ? QString() : u' ' + variante) + u' ' + presentacion;
                if (j >= espacio)
                    nombre += QStringLiteral(" (%1)").arg(j / espacio + 1);
                lineaId = linea->id;
                unidad = texto(d.unidad);
                granel = presentacion == u"a granel";
                if (granel)
                    unidad = QStringLiteral("Kg");
                // Prices end in .00 or .50.
                precio = qint64(a.entre(d.precioMinimo * 2, d.precioMaximo * 2)) * 50;
            }
            const int e = a.entre(1, 100);
            const QString estatus = e <= 93   ? QStringLiteral("A")
                                    : e <= 95 ? QStringLiteral("C")
                                    : e <= 97 ? QStringLiteral("B")
                                    : e <= 99 ? QStringLiteral("V")
                                              : QStringLiteral("S");
            const bool caja = almacenable && a.porCiento(40);
            // A few gift sets, which the points screens must leave out of redemptions;
            // chosen by position so the random sequence of the rest stays as it was.
            const bool juego = almacenable && i % 97 == 41;
            if (juego)
                nombre = QStringLiteral("Juego de regalo ") + nombre;
            arts.agrega({id,
                         nombre,
                         almacenable ? QStringLiteral("S") : QStringLiteral("N"),
                         juego ? QStringLiteral("S") : QStringLiteral("N"),
                         estatus,
                         unidad,
                         caja ? QStringLiteral("Caja") : unidad,
                         dec(caja ? qint64(a.de(std::vector<int>{6, 12, 24})) * 100000 : 100000, 5),
                         lineaId});

            const QString prefijo = linea ? texto(linea->demo->prefijo) : QStringLiteral("SER");
            const int numero = linea ? linea->siguienteClave++ : i + 1;
            const QString clave
                = QStringLiteral("%1-%2").arg(prefijo).arg(numero, 5, 10, QChar(u'0'));
            claves.agrega({idCatalogo(), clave, id, rolPrincipal});
            if (almacenable && a.porCiento(90))
                claves.agrega({idCatalogo(), codigoBarras(i), id, rolBarras});
            if (almacenable && a.porCiento(20))
                claves.agrega({idCatalogo(),
                               QStringLiteral("PRV-%1").arg(a.entre(100000, 999999)),
                               id,
                               rolProveedor});

            const QDateTime cambio(m_hasta.addDays(-a.entre(0, 400)),
                                   QTime(a.entre(8, 19), a.entre(0, 59)));
            precios.agrega({primerPrecio + i, id, 1, 1, dec(precio * 10000, 6), cambio});
            // Some articles have never had their free attributes saved in Microsip.
            if (a.porCiento(90))
                libres.agrega({id});
            clasif.agrega({id, valoresTemporada[size_t(a.entre(0, 2))]});
            clasif.agrega({id, valoresOrigen[size_t(a.porCiento(80) ? 0 : 1)]});

            const qint64 costo = precio * a.entre(55, 80) / 100;
            m_articulos.push_back({id,
                                   clave,
                                   precio,
                                   almacenable,
                                   estatus == u"A" || estatus == u"C",
                                   granel,
                                   costo});
        }
        arts.termina();
        claves.termina();
        precios.termina();
        libres.termina();
        clasif.termina();
        for (size_t i = 0; i < m_articulos.size(); ++i) {
            if (m_articulos[i].vendible)
                m_vendibles.push_back(i);
        }
        avance(QStringLiteral("Artículos: %1").arg(n));
    }

    // EAN-13 with Mexico's prefix and its check digit, unique by index.
    static QString codigoBarras(int i)
    {
        const QString base = QStringLiteral("750%1").arg(100000000 + i, 9, 10, QChar(u'0'));
        int suma = 0;
        for (int k = 0; k < 12; ++k)
            suma += base[k].digitValue() * (k % 2 ? 3 : 1);
        return base + QString::number((10 - suma % 10) % 10);
    }

    void conceptos()
    {
        m_conceptoInicial = detail::creaConcepto(
            m_db, m_tr, QStringLiteral("Inventario inicial"), u'E', QStringLiteral("II"), true);
        detail::creaConcepto(
            m_db, m_tr, QStringLiteral("Compra"), u'E', QStringLiteral("CO"), true);
        detail::creaConcepto(
            m_db, m_tr, QStringLiteral("Salida por merma"), u'S', QStringLiteral("SM"), false);
        detail::creaConcepto(m_db,
                             m_tr,
                             QStringLiteral("Salida por consumo interno"),
                             u'S',
                             QStringLiteral("SCI"),
                             false);
        avance(QStringLiteral("Conceptos de inventario: 4"));
    }

    void existencias()
    {
        Azar a(m_op.semilla * 31 + 4);
        const QDate fecha = m_desde.addDays(-1);
        int lineas = 0;
        Lote comprom(m_db,
                     m_tr,
                     QStringLiteral("COMPROM_ARTICULOS"),
                     {{QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("ALMACEN_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("UNIDADES_COMPROM"), QStringLiteral("NUMERIC(18,5)")}});
        for (size_t w = 0; w < m_almacenes.size(); ++w) {
            const int almacen = m_almacenes[w];
            const int docto = ids(1, QStringLiteral("ID_DOCTOS"));
            const QString folio = detail::tomaFolios(m_db, m_tr, m_conceptoInicial);
            fb::Query q(&m_db, &m_tr);
            q.setSql(QStringLiteral(
                         "INSERT INTO DOCTOS_IN (DOCTO_IN_ID, ALMACEN_ID, CONCEPTO_IN_ID, FOLIO,"
                         " NATURALEZA_CONCEPTO, FECHA, CANCELADO, APLICADO, DESCRIPCION,"
                         " FORMA_EMITIDA, CONTABILIZADO, SISTEMA_ORIGEN, USUARIO_CREADOR%1)"
                         " VALUES (:id, :alm, :con, :folio, 'E', :fecha, 'N', 'N', :desc, 'N', 'N',"
                         " 'IN', 'SYSDBA'%2)")
                         .arg(m_sucursalEnDoctos ? QStringLiteral(", SUCURSAL_ID") : QString(),
                              m_sucursalEnDoctos ? QStringLiteral(", :suc") : QString()));
            q.bind(QStringLiteral("id"), docto);
            q.bind(QStringLiteral("alm"), almacen);
            q.bind(QStringLiteral("con"), m_conceptoInicial);
            q.bind(QStringLiteral("folio"), folio);
            q.bind(QStringLiteral("fecha"), fecha);
            q.bind(QStringLiteral("desc"), QStringLiteral("Inventario inicial"));
            if (m_sucursalEnDoctos)
                q.bind(QStringLiteral("suc"), m_sucursal);
            q.execute();

            Lote det(m_db,
                     m_tr,
                     QStringLiteral("DOCTOS_IN_DET"),
                     {{QStringLiteral("DOCTO_IN_DET_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("DOCTO_IN_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("ALMACEN_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("CONCEPTO_IN_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("CLAVE_ARTICULO"), QStringLiteral("VARCHAR(20)")},
                      {QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                      {QStringLiteral("TIPO_MOVTO"), QStringLiteral("CHAR(1)")},
                      {QStringLiteral("UNIDADES"), QStringLiteral("NUMERIC(18,5)")},
                      {QStringLiteral("COSTO_UNITARIO"), QStringLiteral("NUMERIC(18,6)")},
                      {QStringLiteral("COSTO_TOTAL"), QStringLiteral("NUMERIC(15,2)")},
                      {QStringLiteral("METODO_COSTEO"), QStringLiteral("CHAR(1)")},
                      {QStringLiteral("FECHA"), QStringLiteral("DATE")}});
            std::vector<const Articulo *> conExistencia;
            for (const Articulo &art : m_articulos) {
                if (art.almacenable && (w == 0 || a.porCiento(45)))
                    conExistencia.push_back(&art);
            }
            const int primeraLinea = ids(int(conExistencia.size()), QStringLiteral("ID_DOCTOS"));
            for (size_t k = 0; k < conExistencia.size(); ++k) {
                const Articulo &art = *conExistencia[k];
                // The main warehouse holds enough for the sales the simulator plays.
                const qint64 unidades = art.granel ? qint64(a.entre(40, 400)) * 100000
                                        : w == 0   ? qint64(a.entre(60, 400)) * 100000
                                                   : qint64(a.entre(1, 80)) * 100000;
                det.agrega({primeraLinea + int(k),
                            docto,
                            almacen,
                            m_conceptoInicial,
                            art.clave,
                            art.id,
                            QStringLiteral("E"),
                            dec(unidades, 5),
                            dec(art.costoCentavos * 10000, 6),
                            dec(art.costoCentavos * (unidades / 100000), 2),
                            QStringLiteral("C"),
                            fecha});
                if (w == 0 && a.porCiento(3))
                    comprom.agrega({art.id, almacen, dec(qint64(a.entre(1, 10)) * 100000, 5)});
            }
            det.termina();
            lineas += int(conExistencia.size());
            // Microsip's trigger moves the stock when the document is applied.
            q.setSql(QStringLiteral("UPDATE DOCTOS_IN SET APLICADO = 'S' WHERE DOCTO_IN_ID = :id"));
            q.bind(QStringLiteral("id"), docto);
            q.execute();
        }
        comprom.termina();
        avance(QStringLiteral("Existencias iniciales: %1 renglones").arg(lineas));
    }

    struct Venta
    {
        int cliente;
        int cajero;
        int vendedor;
        std::vector<Renglon> renglones;
    };

    std::vector<Renglon> renglones(Azar &a)
    {
        static const int pesos[] = {35, 25, 17, 11, 7, 5};
        int r = a.entre(1, 100);
        int cuantos = 1;
        for (int p : pesos) {
            if (r <= p)
                break;
            r -= p;
            ++cuantos;
        }
        std::vector<Renglon> v;
        for (int i = 0; i < cuantos; ++i) {
            const size_t art = m_vendibles[size_t(a.entre(0, int(m_vendibles.size()) - 1))];
            qint64 milesimas;
            if (m_articulos[art].granel)
                milesimas = qint64(a.entre(1, 12)) * 250;
            else {
                const int u = a.entre(1, 100);
                milesimas = (u <= 70 ? 1 : u <= 88 ? 2 : a.entre(3, 6)) * 1000;
            }
            v.push_back({int(art), milesimas});
        }
        return v;
    }

    static qint64 redondea(qint64 numerador, qint64 denominador)
    {
        return (numerador * 2 + denominador) / (denominador * 2);
    }

    void documentos()
    {
        const int total = m_op.documentos;
        if (total == 0 || m_vendibles.empty())
            return;
        Azar a(m_op.semilla * 31 + 5);
        const QString suc = m_sucursalEnDoctos ? QStringLiteral("SUCURSAL_ID") : QString();
        auto columnasCabecera = [&](bool pv) {
            QList<Lote::Columna> c{
                {pv ? QStringLiteral("DOCTO_PV_ID") : QStringLiteral("DOCTO_VE_ID"),
                 QStringLiteral("INTEGER")},
                {QStringLiteral("TIPO_DOCTO"), QStringLiteral("CHAR(1)")},
                {QStringLiteral("ESTATUS"), QStringLiteral("CHAR(1)")},
                {QStringLiteral("APLICADO"), QStringLiteral("CHAR(1)")},
                {QStringLiteral("FOLIO"), QStringLiteral("CHAR(9)")},
                {QStringLiteral("FECHA"), QStringLiteral("DATE")},
                {QStringLiteral("CLIENTE_ID"), QStringLiteral("INTEGER")},
                {QStringLiteral("ALMACEN_ID"), QStringLiteral("INTEGER")},
                {QStringLiteral("SISTEMA_ORIGEN"), QStringLiteral("CHAR(2)")},
                {QStringLiteral("TOTAL_IMPUESTOS"), QStringLiteral("NUMERIC(15,2)")},
                {QStringLiteral("IMPORTE_NETO"), QStringLiteral("NUMERIC(15,2)")},
                {QStringLiteral("TIPO_CAMBIO"), QStringLiteral("NUMERIC(18,6)")},
                {QStringLiteral("FECHA_HORA_CREACION"), QStringLiteral("TIMESTAMP")}};
            if (pv)
                c << Lote::Columna{QStringLiteral("HORA"), QStringLiteral("TIME")}
                  << Lote::Columna{QStringLiteral("CAJERO_ID"), QStringLiteral("INTEGER")}
                  << Lote::Columna{QStringLiteral("CAJA_ID"), QStringLiteral("INTEGER")};
            else
                c << Lote::Columna{QStringLiteral("VENDEDOR_ID"), QStringLiteral("INTEGER")};
            if (!suc.isEmpty())
                c << Lote::Columna{suc, QStringLiteral("INTEGER")};
            return c;
        };
        Lote pv(m_db, m_tr, QStringLiteral("DOCTOS_PV"), columnasCabecera(true));
        Lote ve(m_db, m_tr, QStringLiteral("DOCTOS_VE"), columnasCabecera(false));
        Lote pvDet(m_db,
                   m_tr,
                   QStringLiteral("DOCTOS_PV_DET"),
                   {{QStringLiteral("DOCTO_PV_DET_ID"), QStringLiteral("INTEGER")},
                    {QStringLiteral("DOCTO_PV_ID"), QStringLiteral("INTEGER")},
                    {QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                    {QStringLiteral("CLAVE_ARTICULO"), QStringLiteral("VARCHAR(20)")},
                    {QStringLiteral("UNIDADES"), QStringLiteral("NUMERIC(18,5)")},
                    {QStringLiteral("POSICION"), QStringLiteral("INTEGER")},
                    {QStringLiteral("PRECIO_UNITARIO"), QStringLiteral("NUMERIC(18,6)")},
                    {QStringLiteral("PRECIO_UNITARIO_IMPTO"), QStringLiteral("NUMERIC(18,6)")},
                    {QStringLiteral("ROL"), QStringLiteral("CHAR(1)")}});
        Lote veDet(m_db,
                   m_tr,
                   QStringLiteral("DOCTOS_VE_DET"),
                   {{QStringLiteral("DOCTO_VE_DET_ID"), QStringLiteral("INTEGER")},
                    {QStringLiteral("DOCTO_VE_ID"), QStringLiteral("INTEGER")},
                    {QStringLiteral("ARTICULO_ID"), QStringLiteral("INTEGER")},
                    {QStringLiteral("CLAVE_ARTICULO"), QStringLiteral("VARCHAR(20)")},
                    {QStringLiteral("UNIDADES"), QStringLiteral("NUMERIC(18,5)")},
                    {QStringLiteral("POSICION"), QStringLiteral("SMALLINT")},
                    {QStringLiteral("PRECIO_UNITARIO"), QStringLiteral("NUMERIC(18,6)")}});

        pvDet.despuesDe(pv);
        veDet.despuesDe(ve);
        int siguienteId = 0;
        int idsLibres = 0;
        auto nuevoId = [&] {
            if (idsLibres == 0) {
                idsLibres = 20000;
                siguienteId = ids(idsLibres, QStringLiteral("ID_DOCTOS"));
            }
            --idsLibres;
            return siguienteId++;
        };
        qint64 folioV = 0, folioDv = 0, folioF = 0, folioR = 0, folioDf = 0;
        std::deque<Venta> recientesPv, recientesVe;
        int nPv = 0, nVe = 0;

        for (int k = 0; k < total; ++k) {
            const QDate fecha = m_desde.addDays(qint64(k) * m_op.dias / total);
            const QTime hora(a.entre(8, 20), a.entre(0, 59), a.entre(0, 59));
            const bool esPv = a.entre(1, 5) <= 4;
            std::deque<Venta> &recientes = esPv ? recientesPv : recientesVe;
            Venta v;
            QString tipo;
            // A return gives back part of a recent sale of the same customer.
            if (!recientes.empty() && a.porCiento(2)) {
                const Venta &origen = recientes[size_t(a.entre(0, int(recientes.size()) - 1))];
                v = origen;
                v.renglones.resize(size_t(a.entre(1, int(v.renglones.size()))));
                for (Renglon &r : v.renglones) {
                    if (r.unidadesMilesimas >= 2000 && a.porCiento(50))
                        r.unidadesMilesimas = 1000;
                }
                tipo = QStringLiteral("D");
            } else {
                v.cliente
                    = esPv && a.porCiento(35)
                          ? m_publico
                          : m_clientesActivos[size_t(a.sesgado(int(m_clientesActivos.size())))];
                v.cajero = m_cajeros[size_t(a.entre(0, int(m_cajeros.size()) - 1))];
                v.vendedor = m_vendedores[size_t(a.entre(0, int(m_vendedores.size()) - 1))];
                v.renglones = renglones(a);
                tipo = esPv ? QStringLiteral("V")
                            : (a.porCiento(13) ? QStringLiteral("R") : QStringLiteral("F"));
                recientes.push_back(v);
                if (recientes.size() > 200)
                    recientes.pop_front();
            }
            QString folio;
            if (esPv)
                folio = tipo == u"D" ? detail::folio(QStringLiteral("DV"), ++folioDv)
                                     : detail::folio(QStringLiteral("A"), ++folioV);
            else
                folio = tipo == u"D"   ? detail::folio(QStringLiteral("DF"), ++folioDf)
                        : tipo == u"R" ? detail::folio(QStringLiteral("R"), ++folioR)
                                       : detail::folio(QStringLiteral("F"), ++folioF);
            const int id = nuevoId();
            qint64 total100 = 0; // the document's amount in cents
            std::vector<QVariantList> detalle;
            for (size_t p = 0; p < v.renglones.size(); ++p) {
                const Renglon &r = v.renglones[p];
                const Articulo &art = m_articulos[size_t(r.articulo)];
                if (esPv) {
                    const qint64 conImpuesto = redondea(art.precioCentavos * 116, 100);
                    total100 += redondea(r.unidadesMilesimas * conImpuesto, 1000);
                    detalle.push_back({nuevoId(),
                                       id,
                                       art.id,
                                       art.clave,
                                       dec(r.unidadesMilesimas * 100, 5),
                                       int(p + 1),
                                       dec(art.precioCentavos * 10000, 6),
                                       dec(conImpuesto * 10000, 6),
                                       QStringLiteral("N")});
                } else {
                    total100 += redondea(r.unidadesMilesimas * art.precioCentavos, 1000);
                    detalle.push_back({nuevoId(),
                                       id,
                                       art.id,
                                       art.clave,
                                       dec(r.unidadesMilesimas * 100, 5),
                                       int(p + 1),
                                       dec(art.precioCentavos * 10000, 6)});
                }
            }
            // POS prices include the tax; an invoice adds it.
            const qint64 neto = esPv ? redondea(total100 * 100, 116) : total100;
            const qint64 impuestos = esPv ? total100 - neto : redondea(total100 * 16, 100);
            QVariantList cab{id,
                             tipo,
                             a.porCiento(3) ? QStringLiteral("C") : QStringLiteral("N"),
                             QStringLiteral("S"),
                             folio,
                             fecha,
                             v.cliente,
                             m_almacenes.front(),
                             esPv ? QStringLiteral("PV") : QStringLiteral("VE"),
                             dec(impuestos, 2),
                             dec(neto, 2),
                             dec(1000000, 6),
                             QDateTime(fecha, hora)};
            if (esPv)
                cab << hora << v.cajero
                    << int(std::find(m_cajeros.begin(), m_cajeros.end(), v.cajero)
                           - m_cajeros.begin())
                           + 1;
            else
                cab << v.vendedor;
            if (!suc.isEmpty())
                cab << m_sucursal;
            (esPv ? pv : ve).agrega(cab);
            for (const QVariantList &d : detalle)
                (esPv ? pvDet : veDet).agrega(d);
            ++(esPv ? nPv : nVe);
            if ((k + 1) % 100000 == 0)
                avance(QStringLiteral("Documentos: %1 de %2").arg(k + 1).arg(total));
        }
        pv.termina();
        pvDet.termina();
        ve.termina();
        veDet.termina();
        avance(QStringLiteral("Documentos: %1 de punto de venta (%2 renglones), %3 de ventas (%4 "
                              "renglones)")
                   .arg(nPv)
                   .arg(pvDet.filas())
                   .arg(nVe)
                   .arg(veDet.filas()));
    }

    fb::Database &m_db;
    const OpcionesSiembra &m_op;
    fb::Transaction m_tr;
    QDate m_hasta;
    QDate m_desde;
    bool m_foliosConceptos = false;
    bool m_sucursalEnDoctos = false;
    int m_sucursal = 0;
    int m_publico = 0;
    int m_conceptoInicial = 0;
    int m_siguienteId = 0;
    int m_idsLibres = 0;
    std::vector<Ciudad> m_ciudades;
    std::vector<int> m_almacenes;
    std::vector<int> m_cajeros;
    std::vector<int> m_vendedores;
    std::vector<int> m_clientesActivos;
    std::vector<Articulo> m_articulos;
    std::vector<size_t> m_vendibles;
};

void rango(int valor, int minimo, int maximo, const QString &que)
{
    if (valor < minimo || valor > maximo)
        throw fb::Error(QStringLiteral("%1 debe estar entre %2 y %3: %4.")
                            .arg(que)
                            .arg(minimo)
                            .arg(maximo)
                            .arg(valor));
}

} // namespace

void validaSiembra(const OpcionesSiembra &op)
{
    rango(op.clientes, 1, 200000, QStringLiteral("El número de clientes"));
    rango(op.articulos, 1, 100000, QStringLiteral("El número de artículos"));
    rango(op.documentos, 0, 1000000, QStringLiteral("El número de documentos"));
    rango(op.almacenes, 1, 50, QStringLiteral("El número de almacenes"));
    rango(op.cajeros, 1, 100, QStringLiteral("El número de cajeros"));
    rango(op.vendedores, 1, 100, QStringLiteral("El número de vendedores"));
    rango(op.empleados, 0, 10000, QStringLiteral("El número de empleados"));
    rango(op.dias, 1, 3650, QStringLiteral("El número de días"));
}

QStringList versionesCfdi()
{
    return {QStringLiteral("3.2"), QStringLiteral("3.3"), QStringLiteral("4.0")};
}

QString documentoCfdi(const QString &version)
{
    QFile f(QStringLiteral(":/microsip/cfdi/factura-%1.xml").arg(version));
    if (!f.open(QIODevice::ReadOnly))
        throw fb::Error(QStringLiteral("No hay un CFDI de muestra de la versión %1.").arg(version));
    return QString::fromUtf8(f.readAll());
}

void siembra(fb::Database &empresa, const OpcionesSiembra &opciones)
{
    validaSiembra(opciones);
    Sembrador s(empresa, opciones);
    s.siembra();
}

void asignaSerie(fb::Database &empresa, int conceptoId, const QString &serie, int consecutivo)
{
    fb::Transaction tr(&empresa);
    fb::TransactionGuard guardia(tr);
    detail::serieConcepto(empresa, tr, conceptoId, serie, consecutivo);
    guardia.commit();
}

} // namespace microsip
