#include "asignapuntos_forma.h"

#include "core/fmain.h"
#include "core/navegacion.h"
#include "core/sesion.h"
#include "shared/listas.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QComboBox>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QToolButton>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString Aviso = QStringLiteral("Aviso del sistema");

} // namespace

TfAsignaPuntos::TfAsignaPuntos(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , m_s(sesion)
    , m_movimiento(sesion)
    , mClientes(std::make_unique<MemTable>())
    , mDet(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("TfAsignaPuntos"));
    setWindowTitle(QStringLiteral("Asignar o retirar puntos a Clientes"));

    mClientes->addField(QStringLiteral("id"), FieldType::Integer);
    mClientes->addField(QStringLiteral("Activo"), FieldType::Boolean);
    mClientes->addField(QStringLiteral("Clave"), FieldType::String, 300);
    mClientes->addField(QStringLiteral("Nombre"), FieldType::String, 200);
    mClientes->setFiltered(true);
    mClientes->open();

    mDet->addField(QStringLiteral("NomCliente"), FieldType::String, 200);
    mDet->addField(QStringLiteral("Puntos"), FieldType::Integer);
    mDet->addField(QStringLiteral("idCliente"), FieldType::Integer);
    mDet->open();

    auto *barra = new QHBoxLayout;
    auto boton = [&](QPushButton *&b, const QString &nombre, const QString &texto) {
        b = new QPushButton(texto, this);
        b->setObjectName(nombre);
        b->setAutoDefault(false);
        barra->addWidget(b);
    };
    boton(bNew, QStringLiteral("bNew"), QStringLiteral("Nuevo"));
    boton(bEdit, QStringLiteral("bEdit"), QStringLiteral("Editar"));
    boton(bSavee, QStringLiteral("bSavee"), QStringLiteral("Guardar"));
    boton(bSaveClose, QStringLiteral("bSaveClose"), QStringLiteral("&Guardar y cerrar"));
    boton(bSaveNew, QStringLiteral("bSaveNew"), QStringLiteral("G&uardar y nuevo"));
    barra->addStretch();
    bEdit->setCheckable(true);
    bEdit->setChecked(true);

    txtCliente = new QLineEdit(this);
    txtCliente->setObjectName(QStringLiteral("txtCliente"));
    txtCliente->setReadOnly(true);
    txtCliente->setAccessibleName(QStringLiteral("Clientes"));
    bClientes = new QToolButton(this);
    bClientes->setObjectName(QStringLiteral("bClientes"));
    bClientes->setText(QStringLiteral("..."));
    bClientes->setAccessibleName(QStringLiteral("Elegir clientes"));
    bClientes->setToolTip(QStringLiteral("Elegir clientes"));
    lblNoCtes = new QLabel(this);
    lblNoCtes->setObjectName(QStringLiteral("lblNoCtes"));
    vMovto = new QComboBox(this);
    vMovto->setObjectName(QStringLiteral("vMovto"));
    vMovto->addItems({QStringLiteral("Agregar puntos"), QStringLiteral("Quitar puntos")});
    vMovto->setCurrentIndex(-1);
    vMovto->setAccessibleName(QStringLiteral("Movimiento"));
    vPuntos = new QLineEdit(this);
    vPuntos->setObjectName(QStringLiteral("vPuntos"));
    vPuntos->setAccessibleName(QStringLiteral("Puntos"));

    auto *datos = new QGridLayout;
    auto *lCliente = new QLabel(QStringLiteral("Clientes:"), this);
    lCliente->setBuddy(txtCliente);
    auto *lMovto = new QLabel(QStringLiteral("Movimiento:"), this);
    lMovto->setBuddy(vMovto);
    auto *lPuntos = new QLabel(QStringLiteral("Puntos:"), this);
    lPuntos->setBuddy(vPuntos);
    auto *filaCliente = new QHBoxLayout;
    filaCliente->addWidget(txtCliente, 1);
    filaCliente->addWidget(bClientes);
    filaCliente->addWidget(lblNoCtes);
    datos->addWidget(lCliente, 0, 0);
    datos->addLayout(filaCliente, 0, 1);
    datos->addWidget(lMovto, 1, 0);
    datos->addWidget(vMovto, 1, 1);
    datos->addWidget(lPuntos, 2, 0);
    datos->addWidget(vPuntos, 2, 1);

    cxGrid = new MemGrid(this);
    cxGrid->setObjectName(QStringLiteral("cxGrid"));
    cxGrid->setAccessibleName(QStringLiteral("Clientes del movimiento"));
    cxGrid->setEditTriggers(QAbstractItemView::NoEditTriggers);
    cxGrid->setTable(mDet.get());
    cxGrid->memModel()->clearColumns();
    cxGrid->memModel()->addColumn(QStringLiteral("NomCliente"), QStringLiteral("Cliente"), 400);
    cxGrid->memModel()->addColumn(QStringLiteral("Puntos"), QStringLiteral("Puntos"), 100);
    cxGrid->memModel()->reload();
    cxGrid->applyColumns();

    auto *principal = new QVBoxLayout(this);
    principal->addLayout(barra);
    principal->addLayout(datos);
    principal->addWidget(cxGrid, 1);
    resize(640, 480);

    Acceso = m_s.Permisos[kTag];
    const bool conDerecho = Acceso & 2;
    for (QPushButton *b : {bNew, bSavee, bSaveClose, bSaveNew})
        b->setEnabled(conDerecho);

    connect(bClientes, &QToolButton::clicked, this, &TfAsignaPuntos::EligeClientes);
    connect(bSavee, &QPushButton::clicked, this, [this] { guarda(Fin::Recargar); });
    connect(bSaveClose, &QPushButton::clicked, this, [this] { guarda(Fin::Cerrar); });
    connect(bSaveNew, &QPushButton::clicked, this, [this] { guarda(Fin::Limpiar); });
    connect(bNew, &QPushButton::clicked, this, &TfAsignaPuntos::bNewClick);
    // The edit command has no effect but to stay down.
    connect(bEdit, &QPushButton::toggled, this, [this](bool abajo) {
        if (!abajo)
            bEdit->setChecked(true);
    });
}

TfAsignaPuntos::~TfAsignaPuntos() = default;

void TfAsignaPuntos::EligeClientes()
{
    m_movimiento.CargaClientes(*mClientes);
    ListaCols.clear();
    ListaCols << QStringLiteral("Activo,,Activo,50") << QStringLiteral("Clave,,Clave,100")
              << QStringLiteral("Nombre,,Nombre,300");
    if (MuestraListaCh(*mClientes, QStringLiteral("Lista de clientes"), QString(), true) != 1)
        return;
    int marcados = 0;
    const int fila = mClientes->recNo();
    for (mClientes->first(); !mClientes->eof(); mClientes->next())
        marcados += (*mClientes)[QStringLiteral("Activo")].asBoolean() ? 1 : 0;
    mClientes->setRecNo(fila);
    lblNoCtes->setText(QString::number(marcados));
    CargaSaldos();
}

void TfAsignaPuntos::CargaSaldos()
{
    QList<int> marcados;
    for (mClientes->first(); !mClientes->eof(); mClientes->next())
        if ((*mClientes)[QStringLiteral("Activo")].asBoolean())
            marcados << (*mClientes)[QStringLiteral("id")].asInteger();
    mDet->emptyTable();
    for (const MovimientoPuntos::Linea &l : m_movimiento.CargaSaldos(marcados)) {
        mDet->append();
        (*mDet)[QStringLiteral("NomCliente")] = l.nombre;
        (*mDet)[QStringLiteral("Puntos")] = l.puntos;
        (*mDet)[QStringLiteral("idCliente")] = l.idCliente;
        mDet->post();
    }
    mDet->first();
}

void TfAsignaPuntos::guarda(Fin fin)
{
    if (!bNew->isEnabled())
        return;
    const mb::Estilos info = mb::IconInformation;
    if (vMovto->currentIndex() < 0) {
        MensajeSistema(
            QStringLiteral("Es necesario seleccionar un tipo de movimiento."), Aviso, info);
        vMovto->setFocus();
        return;
    }
    const QString puntos = vPuntos->text();
    if (puntos.trimmed().isEmpty() || puntos == QStringLiteral("0")) {
        MensajeSistema(
            QStringLiteral("Es necesario especificar un número de puntos válido"), Aviso, info);
        vPuntos->setFocus();
        return;
    }
    QList<MovimientoPuntos::Linea> lineas;
    for (mDet->first(); !mDet->eof(); mDet->next())
        lineas.append({(*mDet)[QStringLiteral("idCliente")].asInteger(),
                       (*mDet)[QStringLiteral("NomCliente")].asString(),
                       (*mDet)[QStringLiteral("Puntos")].asInteger()});
    const MovimientoPuntos::Resultado r
        = m_movimiento.GuardaMovimiento(vMovto->currentIndex() == 0, puntos, lineas);
    if (!r.ok) {
        if (!r.error.isEmpty())
            MensajeSistema(r.error, QStringLiteral("Error"), mb::IconStop);
        return;
    }
    MensajeSistema(QStringLiteral("El movimiento se ha generado correctamente."), Aviso, info);
    switch (fin) {
    case Fin::Cerrar:
        accept();
        break;
    case Fin::Recargar:
        CargaSaldos();
        break;
    case Fin::Limpiar:
        LimpiaMovimiento();
        break;
    }
}

void TfAsignaPuntos::bNewClick()
{
    if (MensajeSistema(QStringLiteral("¿Desea iniciar un movimiento nuevo?"),
                       QStringLiteral("Nuevo"),
                       mb::YesNo | mb::IconQuestion | mb::DefButton2)
        == mb::IdYes)
        LimpiaMovimiento();
}

void TfAsignaPuntos::LimpiaMovimiento()
{
    lblNoCtes->clear();
    for (mClientes->first(); !mClientes->eof(); mClientes->next()) {
        mClientes->edit();
        (*mClientes)[QStringLiteral("Activo")] = false;
        mClientes->post();
    }
    mDet->emptyTable();
    vMovto->setCurrentIndex(-1);
    vPuntos->clear();
    bEdit->setChecked(true);
}

void RegistraAsignaPuntos()
{
    FilaModulo m;
    m.tag = TfAsignaPuntos::kTag;
    m.clase = QStringLiteral("TfAsignaPuntos");
    m.modal = true;
    m.creaDialogo = [](TfMain &principal) -> QDialog * {
        return new TfAsignaPuntos(principal.sesion(), &principal);
    };
    RegistraModulo(m);
}

} // namespace lar
