#include "addarticulos.h"

#include "core/registro.h"
#include "core/sesion.h"
#include "fb/query.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QCheckBox>
#include <QDateEdit>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRegularExpressionValidator>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString kFormatoFecha = QStringLiteral("dd/MM/yyyy");

QString sn(bool b)
{
    return b ? QStringLiteral("S") : QStringLiteral("N");
}

void llenaLista(Sesion &s, MemTable &mem, const QString &sql)
{
    mem.close();
    mem.clearFields();
    mem.addField(QStringLiteral("ID"), FieldType::Integer);
    mem.addField(QStringLiteral("Nombre"), FieldType::String, 50);
    mem.open();
    fb::Query q(&s.fbDatabase(), &s.fbViewTrans());
    q.setTrimChars(true);
    q.setSql(sql);
    q.open();
    mem.loadFromQuery(q);
    q.close();
    mem.addIndex(QStringLiteral("iNombre"), QStringLiteral("Nombre"));
    mem.setIndexName(QStringLiteral("iNombre"));
}

} // namespace

TfAddArticulos::TfAddArticulos(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , m_s(sesion)
    , mLineas(std::make_unique<MemTable>())
    , mAlm(std::make_unique<MemTable>())
    , mCla(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("TfAddArticulos"));
    setWindowTitle(QStringLiteral("Agregar artículos"));
    auto casilla = [this](const QString &nombre, const QString &texto) {
        auto *c = new QCheckBox(texto, this);
        c->setObjectName(nombre);
        return c;
    };
    auto combo = [this](const QString &nombre, const QString &vacio) {
        auto *c = new LookupCombo(this);
        c->setObjectName(nombre);
        c->setPlaceholderText(vacio);
        c->setAccessibleName(vacio.trimmed());
        c->setMinimumWidth(260);
        return c;
    };
    auto numero = [this](const QString &nombre) {
        auto *e = new QLineEdit(this);
        e->setObjectName(nombre);
        e->setValidator(
            new QRegularExpressionValidator(QRegularExpression(QStringLiteral("\\d{0,9}")), e));
        e->setMaximumWidth(90);
        return e;
    };
    rUltimos = casilla(QStringLiteral("rUltimos"),
                       QStringLiteral("Que hayan cambiado de &Precio en el periodo"));
    dtpFecIni = new QDateEdit(this);
    dtpFecIni->setObjectName(QStringLiteral("dtpFecIni"));
    dtpFecIni->setCalendarPopup(true);
    dtpFecIni->setDisplayFormat(kFormatoFecha);
    dtpFecFin = new QDateEdit(this);
    dtpFecFin->setObjectName(QStringLiteral("dtpFecFin"));
    dtpFecFin->setCalendarPopup(true);
    dtpFecFin->setDisplayFormat(kFormatoFecha);
    rLinea = casilla(QStringLiteral("rLinea"), QStringLiteral("Todos los de la &Línea"));
    cLinea = combo(QStringLiteral("cLinea"), QStringLiteral(" <Selecicone una linea >"));
    rAlmacen = casilla(QStringLiteral("rAlmacen"),
                       QStringLiteral("Los que tengan &Existencia en el almacén"));
    cAlmacen = combo(QStringLiteral("cAlmacen"), QStringLiteral("  <Seleccione un almacen>"));
    rAlmacen->setVisible(false);
    cAlmacen->setVisible(false);
    rClasificadores = casilla(QStringLiteral("rClasificadores"), QStringLiteral("&Clasificadores"));
    cClasific
        = combo(QStringLiteral("cClasific"), QStringLiteral("  <Seleccione un clasificador>"));
    rTodos = casilla(QStringLiteral("rTodos"), QStringLiteral("&Todos"));
    chkpuntos = casilla(QStringLiteral("chkpuntos"), QStringLiteral("&Usar puntos general"));
    edtPuntos = numero(QStringLiteral("edtPuntos"));
    chkValor = casilla(QStringLiteral("chkValor"), QStringLiteral("&Usar valor en puntos general"));
    edtValorPuntos = numero(QStringLiteral("edtValorPuntos"));
    // Their captions on screen are the check boxes beside them.
    dtpFecIni->setAccessibleName(QStringLiteral("Periodo desde:"));
    edtPuntos->setAccessibleName(QStringLiteral("Puntos general"));
    edtValorPuntos->setAccessibleName(QStringLiteral("Valor en puntos general"));
    bOk = new QPushButton(QStringLiteral("&Aceptar"), this);
    bOk->setObjectName(QStringLiteral("bOk"));
    bOk->setDefault(true);
    bCancelar = new QPushButton(QStringLiteral("&Cancelar"), this);
    bCancelar->setObjectName(QStringLiteral("bCancelar"));

    auto *g = new QGridLayout;
    g->addWidget(rUltimos, 0, 0, 1, 2);
    auto *periodo = new QHBoxLayout;
    periodo->addWidget(dtpFecIni);
    auto *hasta = new QLabel(QStringLiteral("hasta:"), this);
    hasta->setBuddy(dtpFecFin);
    periodo->addWidget(hasta);
    periodo->addWidget(dtpFecFin);
    periodo->addStretch();
    g->addLayout(periodo, 1, 1);
    g->addWidget(rLinea, 2, 0);
    g->addWidget(cLinea, 2, 1);
    g->addWidget(rAlmacen, 3, 0);
    g->addWidget(cAlmacen, 3, 1);
    g->addWidget(rClasificadores, 4, 0);
    g->addWidget(cClasific, 4, 1);
    g->addWidget(rTodos, 5, 0);
    g->addWidget(chkpuntos, 6, 0);
    g->addWidget(edtPuntos, 6, 1);
    g->addWidget(chkValor, 7, 0);
    g->addWidget(edtValorPuntos, 7, 1);
    auto *botones = new QHBoxLayout;
    botones->addStretch();
    botones->addWidget(bOk);
    botones->addWidget(bCancelar);
    auto *v = new QVBoxLayout(this);
    v->addLayout(g);
    v->addLayout(botones);

    connect(rTodos, &QCheckBox::clicked, this, [this] {
        if (!rTodos->isChecked())
            return;
        for (QCheckBox *c : {rUltimos, rLinea, rAlmacen, rClasificadores})
            c->setChecked(false);
    });
    connect(bOk, &QPushButton::clicked, this, &TfAddArticulos::bOkClick);
    connect(bCancelar, &QPushButton::clicked, this, &QDialog::reject);
}

TfAddArticulos::~TfAddArticulos() = default;

void TfAddArticulos::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    if (!m_cargado) {
        m_cargado = true;
        carga();
    }
}

void TfAddArticulos::carga()
{
    llenaLista(
        m_s, *mLineas, QStringLiteral("SELECT linea_articulo_id, nombre\nFROM lineas_articulos"));
    llenaLista(
        m_s, *mCla, QStringLiteral("SELECT clasificador_id, nombre\nFROM clasificadores_cat"));
    llenaLista(m_s, *mAlm, QStringLiteral("SELECT almacen_id, nombre\nFROM almacenes"));
    cLinea->setLookup(mLineas.get(), QStringLiteral("ID"), QStringLiteral("Nombre"));
    cClasific->setLookup(mCla.get(), QStringLiteral("ID"), QStringLiteral("Nombre"));
    cAlmacen->setLookup(mAlm.get(), QStringLiteral("ID"), QStringLiteral("Nombre"));

    auto lee = [this](const char16_t *nombre) {
        return LeeRegistro(m_s, QString::fromUtf16(nombre));
    };
    auto id = [](const QString &t) {
        bool ok = false;
        const int n = t.trimmed().toInt(&ok);
        return ok && n != 0 ? QVariant(n) : QVariant();
    };
    cAlmacen->setKeyValue(id(lee(u"almacen")));
    cLinea->setKeyValue(id(lee(u"linea")));
    cClasific->setKeyValue(id(lee(u"Clasificador")));
    rUltimos->setChecked(lee(u"RB_ultimos") == u"S");
    rLinea->setChecked(lee(u"RB_lineas") == u"S");
    rAlmacen->setChecked(lee(u"RB_almacenes") == u"S");
    rTodos->setChecked(lee(u"RB_todos") == u"S");
    const QDate hoy = QDate::currentDate();
    QDate ini = QDate::fromString(lee(u"Finicio"), kFormatoFecha);
    QDate fin = QDate::fromString(lee(u"FFinal"), kFormatoFecha);
    if (!ini.isValid())
        ini = hoy;
    if (!fin.isValid())
        fin = hoy;
    if (ini > fin)
        ini = hoy;
    dtpFecIni->setDate(ini);
    dtpFecFin->setDate(fin);
}

void TfAddArticulos::bOkClick()
{
    Valido = true;
    auto falla = [this](QWidget *w, const QString &texto) {
        MensajeSistema(texto, QStringLiteral("Aviso del sistema"), mb::IconWarning);
        Valido = false;
        w->setFocus();
    };
    if (rLinea->isChecked() && !cLinea->keyValue().isValid())
        falla(cLinea, QStringLiteral("Debé seleccionar un línea."));
    if (rAlmacen->isChecked() && !cAlmacen->keyValue().isValid())
        falla(cAlmacen, QStringLiteral("Debé seleccionar un almacén."));
    if (rClasificadores->isChecked() && !cClasific->keyValue().isValid())
        falla(cClasific, QStringLiteral("Deé seleccionar un clasificador."));
    if (!Valido)
        return;

    auto guarda = [this](const char16_t *nombre, const QString &valor) {
        GuardaRegistro(m_s, QString::fromUtf16(nombre), valor);
    };
    auto id = [](const LookupCombo *c) {
        const QVariant k = c->keyValue();
        return k.isValid() ? k.toString() : QString();
    };
    guarda(u"almacen", id(cAlmacen));
    guarda(u"linea", id(cLinea));
    guarda(u"RB_ultimos", sn(rUltimos->isChecked()));
    guarda(u"RB_lineas", sn(rLinea->isChecked()));
    guarda(u"RB_almacenes", sn(rAlmacen->isChecked()));
    guarda(u"RB_todos", sn(rTodos->isChecked()));
    guarda(u"Clasificador", id(cClasific));
    guarda(u"Finicio", dtpFecIni->date().toString(kFormatoFecha));
    guarda(u"FFinal", dtpFecFin->date().toString(kFormatoFecha));
    done(1);
}

FiltroAgregar TfAddArticulos::filtro() const
{
    FiltroAgregar f;
    f.todos = rTodos->isChecked();
    f.porPrecio = rUltimos->isChecked();
    f.fecha1 = dtpFecIni->date();
    f.fecha2 = dtpFecFin->date();
    f.porLinea = rLinea->isChecked();
    f.lineaId = cLinea->keyValue().toInt();
    f.porClasificador = rClasificadores->isChecked();
    f.clasificadorId = cClasific->keyValue().toInt();
    if (chkpuntos->isChecked())
        f.puntos = edtPuntos->text().toInt();
    if (chkValor->isChecked())
        f.valorPuntos = edtValorPuntos->text().toInt();
    return f;
}

} // namespace lar
