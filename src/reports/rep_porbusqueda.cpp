#include "rep_porbusqueda.h"

#include "exportaexcel.h"
#include "formas.h"

#include "core/fmain.h"
#include "core/navegacion.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/tag.h"

#include <QButtonGroup>
#include <QHBoxLayout>
#include <QKeyEvent>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QVBoxLayout>

#include <algorithm>

namespace lar {

Tfrep_PorBusqueda::Tfrep_PorBusqueda(Sesion &sesion, QWidget *parent)
    : TMForm(parent)
    , m_s(sesion)
    , m_datos(sesion)
    , mBusqueda(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("Tfrep_PorBusqueda"));
    setWindowTitle(QStringLiteral("Busqueda por cliente"));
    resize(1000, 560);
    mBusqueda->setObjectName(QStringLiteral("mBusqueda"));
    DefineDirecciones(*mBusqueda);
    mBusqueda->open();

    BitBtn1 = Boton(QStringLiteral("BitBtn1"), QStringLiteral("Actualizar"));
    // F5 runs the same load.
    Button1 = Boton(QStringLiteral("Button1"), QStringLiteral("Actualizar"));
    SetTag(Button1, -5);
    Button1->setVisible(false);
    btnExportar = Boton(QStringLiteral("btnExportar"), QStringLiteral("&Exportar a Excel"));

    rCiudad = new QRadioButton(QStringLiteral("Cuidad"), this);
    rCiudad->setObjectName(QStringLiteral("rCiudad"));
    rColonia = new QRadioButton(QStringLiteral("Colonia"), this);
    rColonia->setObjectName(QStringLiteral("rColonia"));
    rNombre = new QRadioButton(QStringLiteral("Nombre"), this);
    rNombre->setObjectName(QStringLiteral("rNombre"));
    rNombre->setChecked(true);
    auto *grupo = new QButtonGroup(this);
    for (QRadioButton *r : {rCiudad, rColonia, rNombre})
        grupo->addButton(r);
    vBusca = new QLineEdit(this);
    vBusca->setObjectName(QStringLiteral("vBusca"));
    vBusca->setAccessibleName(QStringLiteral("Buscar"));
    vBusca->setPlaceholderText(QStringLiteral("Buscar"));
    vBusca->installEventFilter(this);
    auto *lBusca = new QLabel(QStringLiteral("&Buscar:"), this);
    lBusca->setBuddy(vBusca);

    cxGrid1 = new MemGrid(this);
    cxGrid1->setObjectName(QStringLiteral("cxGrid1"));
    cxGrid1->setAccessibleName(QStringLiteral("Clientes"));
    MemTableModel *m = cxGrid1->memModel();
    m->addColumn(QStringLiteral("Nombre"), QStringLiteral("Nombre"), 200);
    m->addColumn(QStringLiteral("Telefono"), QStringLiteral("Telefono"), 90);
    m->addColumn(QStringLiteral("Direccion"), QStringLiteral("Direccion"), 160);
    m->addColumn(QStringLiteral("Colonia"), QStringLiteral("Colonia"), 110);
    m->addColumn(QStringLiteral("Ciudad"), QStringLiteral("Ciudad"), 100);
    m->addColumn(QStringLiteral("Estado"), QStringLiteral("Estado"), 80);
    cxGrid1->setTable(mBusqueda.get());
    cxGrid1->setEditTriggers(QAbstractItemView::NoEditTriggers);
    m_pintor = new HighlightDelegate(this);
    m_pintor->setField(CampoBusca);
    cxGrid1->setItemDelegate(m_pintor);

    auto *fila = new QHBoxLayout;
    fila->addWidget(BitBtn1);
    fila->addWidget(Button1);
    fila->addSpacing(12);
    fila->addWidget(lBusca);
    fila->addWidget(rCiudad);
    fila->addWidget(rColonia);
    fila->addWidget(rNombre);
    fila->addWidget(vBusca, 1);
    fila->addWidget(btnExportar);
    auto *v = new QVBoxLayout(this);
    v->addLayout(fila);
    v->addWidget(cxGrid1, 1);

    connect(BitBtn1, &QPushButton::clicked, this, &Tfrep_PorBusqueda::Button1Click);
    connect(Button1, &QPushButton::clicked, this, &Tfrep_PorBusqueda::Button1Click);
    connect(btnExportar, &QPushButton::clicked, this, &Tfrep_PorBusqueda::btnExportarClick);
    connect(vBusca, &QLineEdit::textChanged, this, &Tfrep_PorBusqueda::vBuscaChange);
    connect(rCiudad, &QRadioButton::clicked, this, [this] {
        eligeBusqueda(fCiudad, QStringLiteral("Ciudad"));
    });
    connect(rColonia, &QRadioButton::clicked, this, [this] {
        eligeBusqueda(fColonia, QStringLiteral("Colonia"));
    });
    connect(rNombre, &QRadioButton::clicked, this, [this] {
        eligeBusqueda(fNombre, QStringLiteral("Nombre"));
    });

    mBusqueda->setOnFilterRecord([this](MemTable &t) {
        return Palabras.isEmpty() || m_buscador.matches(t.upperUtf8(CampoBusca));
    });
    mBusqueda->setFiltered(true);
    mBusqueda->setIndexName(QStringLiteral("Nombre"));

    terminaDiseno();
    FolderId = FolderFormas(m_s);
}

Tfrep_PorBusqueda::~Tfrep_PorBusqueda()
{
    mBusqueda->setOnFilterRecord(nullptr);
}

void Tfrep_PorBusqueda::showEvent(QShowEvent *ev)
{
    TMForm::showEvent(ev);
    if (m_mostrada)
        return;
    m_mostrada = true;
    btnExportar->setEnabled((Acceso & 3) == 3);
}

void Tfrep_PorBusqueda::Button1Click()
{
    mBusqueda->disableControls();
    mBusqueda->emptyTable();
    try {
        m_datos.cargaDirecciones(*mBusqueda);
    } catch (const std::exception &e) {
        mBusqueda->enableControls();
        MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
        return;
    }
    mBusqueda->enableControls();
    mBusqueda->first();
}

void Tfrep_PorBusqueda::eligeBusqueda(int campo, const QString &indice)
{
    CampoBusca = campo;
    m_pintor->setField(campo);
    mBusqueda->setIndexName(indice);
    // The words now apply to the new field.
    vBuscaChange();
    vBusca->setFocus();
}

void Tfrep_PorBusqueda::vBuscaChange()
{
    Palabras = splitWords(vBusca->text());
    m_buscador = WordMatcher(Palabras);
    m_pintor->setWords(Palabras);
    mBusqueda->refresh();
    cxGrid1->viewport()->update();
}

void Tfrep_PorBusqueda::btnExportarClick()
{
    if (mBusqueda->isEmpty()) {
        MensajeSistema(QStringLiteral("Debe teclear el nombre a buscar y actualizar."),
                       QStringLiteral("Aviso del sistema"),
                       mb::IconInformation);
        return;
    }
    ExportaExcel(*cxGrid1);
}

bool Tfrep_PorBusqueda::eventFilter(QObject *o, QEvent *ev)
{
    if (o != vBusca || ev->type() != QEvent::KeyPress)
        return TMForm::eventFilter(o, ev);
    if (TeclaDeBusqueda(static_cast<QKeyEvent *>(ev), vBusca, *mBusqueda, cxGrid1->viewport()))
        return true;
    return TMForm::eventFilter(o, ev);
}

void RegistraRepPorBusqueda()
{
    FilaModulo m;
    m.tag = 78;
    m.clase = QStringLiteral("Tfrep_PorBusqueda");
    m.creaForma = [](TfMain &principal) -> TMForm * {
        return new Tfrep_PorBusqueda(principal.sesion());
    };
    RegistraModulo(m);
}

} // namespace lar
