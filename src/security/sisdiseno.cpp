#include "sisdiseno.h"

#include "core/navegacion.h"
#include "core/sesion.h"
#include "shared/listas.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/tag.h"

#include <QAction>
#include <QFormLayout>
#include <QGridLayout>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QIntValidator>
#include <QLabel>
#include <QLineEdit>
#include <QMenu>
#include <QPushButton>
#include <QSplitter>
#include <QStyle>
#include <QToolButton>
#include <QTreeWidget>
#include <QVBoxLayout>

namespace lar {

namespace {

const QString kAviso = QStringLiteral("Aviso del sistema");

int claveDe(const QTreeWidgetItem *item)
{
    return item ? item->data(0, Qt::UserRole).toInt() : 0;
}

QToolButton *
boton(QWidget *padre, const QString &nombre, const QString &pista, QStyle::StandardPixmap icono)
{
    auto *b = new QToolButton(padre);
    b->setObjectName(nombre);
    b->setToolTip(pista);
    b->setAccessibleName(pista);
    b->setIcon(padre->style()->standardIcon(icono));
    b->setAutoRaise(true);
    return b;
}

} // namespace

TfCheckButton::TfCheckButton(QWidget *parent)
    : QDialog(parent)
{
    setObjectName(QStringLiteral("TfCheckButton"));
    setWindowTitle(QStringLiteral("Definición de la seguridad"));
    auto *etiqueta = new QLabel(QStringLiteral("Nombre de la opción:"), this);
    vValor = new QLineEdit(this);
    vValor->setObjectName(QStringLiteral("vValor"));
    vValor->setMaxLength(50);
    etiqueta->setBuddy(vValor);
    BitBtn1 = new QPushButton(QStringLiteral("&Aceptar"), this);
    BitBtn1->setObjectName(QStringLiteral("BitBtn1"));
    BitBtn1->setDefault(true);
    BitBtn2 = new QPushButton(QStringLiteral("&Cancelar"), this);
    BitBtn2->setObjectName(QStringLiteral("BitBtn2"));
    BitBtn2->setAutoDefault(false);
    auto *botones = new QHBoxLayout;
    botones->addStretch();
    botones->addWidget(BitBtn1);
    botones->addWidget(BitBtn2);
    auto *v = new QVBoxLayout(this);
    v->addWidget(etiqueta);
    v->addWidget(vValor);
    v->addLayout(botones);
    resize(360, sizeHint().height());
    connect(BitBtn1, &QPushButton::clicked, this, &TfCheckButton::aceptar);
    connect(BitBtn2, &QPushButton::clicked, this, &QDialog::reject);
}

void TfCheckButton::aceptar()
{
    if (vValor->text().trimmed().isEmpty()) {
        MensajeSistema(
            QStringLiteral("Debe escribir el nombre de la opción"), kAviso, mb::IconWarning);
        vValor->setFocus();
        return;
    }
    accept();
}

Tfsis_diseno::Tfsis_diseno(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , btnQuery(std::make_unique<MemTable>())
    , qTags(std::make_unique<MemTable>())
    , mTags(std::make_unique<MemTable>())
    , m_sesion(sesion)
    , m_diseno(sesion)
{
    setObjectName(QStringLiteral("Tfsis_diseno"));
    setWindowTitle(QStringLiteral("Diseño de la seguridad"));
    SetTag(this, kTag);

    Lista = new QTreeWidget(this);
    Lista->setObjectName(QStringLiteral("Lista"));
    Lista->setHeaderHidden(true);
    Lista->setAccessibleName(QStringLiteral("Menús"));
    bNew = boton(this, QStringLiteral("bNew"), QStringLiteral("Nuevo"), QStyle::SP_FileIcon);
    bEdit = boton(this,
                  QStringLiteral("bEdit"),
                  QStringLiteral("Modificar"),
                  QStyle::SP_FileDialogDetailedView);
    bDel = boton(this, QStringLiteral("bDel"), QStringLiteral("Borrar"), QStyle::SP_TrashIcon);
    bSave = boton(
        this, QStringLiteral("bSave"), QStringLiteral("Guardar"), QStyle::SP_DialogSaveButton);
    bCancel = boton(
        this, QStringLiteral("bCancel"), QStringLiteral("Cancelar"), QStyle::SP_DialogCancelButton);
    bAddServ = boton(this,
                     QStringLiteral("bAddServ"),
                     QStringLiteral("Agregar módulo"),
                     QStyle::SP_FileDialogNewFolder);
    bDelServ = boton(this,
                     QStringLiteral("bDelServ"),
                     QStringLiteral("Quitar módulo"),
                     QStyle::SP_DialogDiscardButton);
    BitBtn1 = boton(
        this, QStringLiteral("BitBtn1"), QStringLiteral("Agregar opción"), QStyle::SP_ArrowDown);
    BitBtn2 = boton(this,
                    QStringLiteral("BitBtn2"),
                    QStringLiteral("Borrar opción"),
                    QStyle::SP_DialogDiscardButton);
    BitBtn3 = boton(this,
                    QStringLiteral("BitBtn3"),
                    QStringLiteral("Cambiar nombre de la opción"),
                    QStyle::SP_FileDialogContentsView);

    pmAdd = new QMenu(this);
    pmAdd->setObjectName(QStringLiteral("pmAdd"));
    mAdd = pmAdd->addAction(QStringLiteral("&Agregar"));
    mAdd->setObjectName(QStringLiteral("mAdd"));
    mAddInd = pmAdd->addAction(QStringLiteral("Agregar &independiente"));
    mAddInd->setObjectName(QStringLiteral("mAddInd"));

    Edit1 = new QLineEdit(this);
    Edit1->setObjectName(QStringLiteral("Edit1"));
    Edit1->setReadOnly(true);
    Edit1->setValidator(new QIntValidator(Edit1));
    Edit2 = new QLineEdit(this);
    Edit2->setObjectName(QStringLiteral("Edit2"));
    Edit2->setMaxLength(50); // TITULO VARCHAR(50)

    btnQuery->addField(QStringLiteral("tag"), FieldType::Integer);
    btnQuery->addField(QStringLiteral("titulo"), FieldType::String, 50);
    btnQuery->open();
    qTags->addField(QStringLiteral("titulo"), FieldType::String, 50);
    qTags->addField(QStringLiteral("lugar"), FieldType::Integer);
    qTags->open();
    mTags->addField(QStringLiteral("Tag"), FieldType::String, 10);
    mTags->addField(QStringLiteral("Titulo"), FieldType::String, 100);
    mTags->open();

    gBotones = new MemGrid(this);
    gBotones->setObjectName(QStringLiteral("gBotones"));
    gBotones->setAccessibleName(QStringLiteral("Botones"));
    gBotones->setTable(btnQuery.get());
    gBotones->memModel()->addColumn(QStringLiteral("tag"), QStringLiteral("Tag"), 60);
    gBotones->memModel()->addColumn(QStringLiteral("titulo"), QStringLiteral("Título"), 260);
    gBotones->memModel()->reload();
    gBotones->applyColumns();
    gTags = new MemGrid(this);
    gTags->setObjectName(QStringLiteral("gTags"));
    gTags->setAccessibleName(QStringLiteral("Opciones"));
    gTags->setTable(qTags.get());
    gTags->memModel()->addColumn(QStringLiteral("titulo"), QStringLiteral("Opción"), 260);
    gTags->memModel()->addColumn(QStringLiteral("lugar"), QStringLiteral("Lugar"), 60);
    gTags->memModel()->reload();
    gTags->applyColumns();

    // Left: the menus and their commands.
    auto *izquierda = new QWidget(this);
    auto *iv = new QVBoxLayout(izquierda);
    iv->setContentsMargins(0, 0, 0, 0);
    auto *barra = new QHBoxLayout;
    for (QToolButton *b : {bNew, bEdit, bDel, bSave, bCancel})
        barra->addWidget(b);
    barra->addStretch();
    iv->addLayout(barra);
    iv->addWidget(Lista, 1);
    // Right: the menu, its modules and the rights of the module.
    auto *derecha = new QWidget(this);
    auto *dv = new QVBoxLayout(derecha);
    dv->setContentsMargins(0, 0, 0, 0);
    auto *forma = new QFormLayout;
    forma->addRow(QStringLiteral("Clave:"), Edit1);
    forma->addRow(QStringLiteral("Título:"), Edit2);
    dv->addLayout(forma);
    auto *titBotones = new QHBoxLayout;
    auto *lBotones = new QLabel(QStringLiteral("Botones:"), this);
    lBotones->setBuddy(gBotones);
    titBotones->addWidget(lBotones);
    titBotones->addStretch();
    titBotones->addWidget(bAddServ);
    titBotones->addWidget(bDelServ);
    dv->addLayout(titBotones);
    dv->addWidget(gBotones, 1);
    auto *titTags = new QHBoxLayout;
    titTags->addWidget(new QLabel(QStringLiteral("Opciones del módulo:"), this));
    titTags->addStretch();
    titTags->addWidget(BitBtn1);
    titTags->addWidget(BitBtn2);
    titTags->addWidget(BitBtn3);
    dv->addLayout(titTags);
    dv->addWidget(gTags, 1);
    auto *split = new QSplitter(this);
    split->addWidget(izquierda);
    split->addWidget(derecha);
    split->setStretchFactor(1, 1);
    split->setSizes({260, 440});
    auto *v = new QVBoxLayout(this);
    v->addWidget(split);
    resize(760, 520);

    connect(bNew, &QToolButton::clicked, this, &Tfsis_diseno::bNewClick);
    connect(bEdit, &QToolButton::clicked, this, &Tfsis_diseno::bEditClick);
    connect(bDel, &QToolButton::clicked, this, &Tfsis_diseno::bDelClick);
    connect(bSave, &QToolButton::clicked, this, &Tfsis_diseno::bSaveClick);
    connect(bCancel, &QToolButton::clicked, this, &Tfsis_diseno::bCancelClick);
    connect(bAddServ, &QToolButton::clicked, this, &Tfsis_diseno::bAddServClick);
    connect(bDelServ, &QToolButton::clicked, this, &Tfsis_diseno::bDelServClick);
    connect(BitBtn1, &QToolButton::clicked, this, &Tfsis_diseno::BitBtn1Click);
    connect(BitBtn2, &QToolButton::clicked, this, &Tfsis_diseno::BitBtn2Click);
    connect(BitBtn3, &QToolButton::clicked, this, &Tfsis_diseno::BitBtn3Click);
    connect(
        mAdd, &QAction::triggered, this, [this] { iniciaNuevo(claveDe(Lista->currentItem())); });
    connect(mAddInd, &QAction::triggered, this, [this] { iniciaNuevo(0); });
    connect(Lista, &QTreeWidget::currentItemChanged, this, &Tfsis_diseno::ListaChange);
    // The rights follow the module chosen in the grid.
    connect(btnQuery.get(), &MemTable::currentChanged, this, [this] {
        abreTags();
        poneBotones();
    });
}

Tfsis_diseno::~Tfsis_diseno() = default;

void Tfsis_diseno::aviso(const QString &texto)
{
    MensajeSistema(texto, kAviso, mb::IconWarning);
}

void Tfsis_diseno::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    if (PrimeraVez) {
        PrimeraVez = false;
        FormActivate();
    }
}

void Tfsis_diseno::FormActivate()
{
    AccesoForma = m_sesion.Permisos[kTag];
    mTags->emptyTable();
    for (int tag = 1; tag <= 79; ++tag)
        mTags->appendRecord({QString::number(tag), TituloModuloSistema(tag)});
    mTags->first();
    try {
        cargaArbol();
    } catch (const std::exception &e) {
        ErrorConRollback(m_sesion, e);
    }
}

void Tfsis_diseno::cargaArbol()
{
    const QList<MenuSeguridad> menus = m_diseno.menus();
    QSignalBlocker quieto(Lista);
    Lista->clear();
    QSet<int> puestos;
    std::function<void(int, QTreeWidgetItem *)> agrega = [&](int depende, QTreeWidgetItem *padre) {
        for (const MenuSeguridad &m : menus) {
            if (m.depende != depende || puestos.contains(m.clave))
                continue;
            puestos.insert(m.clave);
            auto *item = padre ? new QTreeWidgetItem(padre) : new QTreeWidgetItem(Lista);
            item->setText(0, m.titulo);
            item->setData(0, Qt::UserRole, m.clave);
            agrega(m.clave, item);
        }
    };
    agrega(0, nullptr);
    Lista->sortItems(0, Qt::AscendingOrder);
    Lista->expandAll();
    quieto.unblock();
    if (Lista->topLevelItemCount() > 0)
        Lista->setCurrentItem(Lista->topLevelItem(0));
    else
        ListaChange();
}

void Tfsis_diseno::ListaChange()
{
    QTreeWidgetItem *nodo = Lista->currentItem();
    Edit1->setText(nodo ? QString::number(claveDe(nodo)) : QString());
    Edit2->setText(nodo ? nodo->text(0) : QString());
    abreBotones();
    poneBotones();
}

int Tfsis_diseno::tagActual() const
{
    if (btnQuery->isEmpty())
        return 0;
    return btnQuery->fieldByName(QStringLiteral("tag")).asInteger();
}

void Tfsis_diseno::abreBotones()
{
    QTreeWidgetItem *nodo = Lista->currentItem();
    const int fila = btnQuery->recNo();
    QSignalBlocker quieto(btnQuery.get());
    btnQuery->emptyTable();
    if (nodo && !Nuevo && !Editando) {
        const QList<ModuloSeguridad> modulos = m_diseno.modulos(claveDe(nodo));
        for (const ModuloSeguridad &m : modulos)
            btnQuery->appendRecord({m.tag, m.titulo});
        if (!btnQuery->isEmpty())
            btnQuery->setRecNo(std::clamp(fila, 0, btnQuery->recordCount() - 1));
    }
    quieto.unblock();
    gBotones->memModel()->reload();
    gBotones->applyColumns();
    if (!btnQuery->isEmpty())
        gBotones->selectRow(btnQuery->recNo());
    abreTags();
}

void Tfsis_diseno::abreTags()
{
    const int fila = qTags->recNo();
    const int tag = tagActual();
    QSignalBlocker quieto(qTags.get());
    qTags->emptyTable();
    if (tag > 0) {
        const QList<DerechoSeguridad> derechos = m_diseno.derechos(tag);
        for (const DerechoSeguridad &d : derechos)
            qTags->appendRecord({d.titulo, d.lugar});
        if (!qTags->isEmpty())
            qTags->setRecNo(std::clamp(fila, 0, qTags->recordCount() - 1));
    }
    quieto.unblock();
    gTags->memModel()->reload();
    gTags->applyColumns();
    if (!qTags->isEmpty())
        gTags->selectRow(qTags->recNo());
}

void Tfsis_diseno::poneBotones()
{
    const bool editando = Nuevo || Editando;
    const bool hayNodos = Lista->topLevelItemCount() > 0;
    QTreeWidgetItem *nodo = Lista->currentItem();
    // Moving through the menus while a title is typed would lose it.
    Lista->setEnabled(!editando);
    Edit2->setReadOnly(!editando);
    bSave->setEnabled(editando);
    bCancel->setEnabled(editando);
    if (editando) {
        bNew->setEnabled(false);
        bEdit->setEnabled(false);
        bDel->setEnabled(false);
        bAddServ->setEnabled(false);
        bDelServ->setEnabled(false);
    } else {
        bNew->setEnabled(AccesoForma & 2);
        bEdit->setEnabled((AccesoForma & 4) && hayNodos);
        bDel->setEnabled((AccesoForma & 8) && bEdit->isEnabled());
        bAddServ->setEnabled((AccesoForma & 16) && nodo);
        bDelServ->setEnabled((AccesoForma & 64) && nodo && !btnQuery->isEmpty());
    }
    BitBtn1->setEnabled(!editando && !btnQuery->isEmpty());
    BitBtn2->setEnabled(BitBtn1->isEnabled() && !qTags->isEmpty());
    BitBtn3->setEnabled(BitBtn2->isEnabled());
}

void Tfsis_diseno::bNewClick()
{
    mAdd->setEnabled(Lista->topLevelItemCount() > 0);
    pmAdd->exec(bNew->mapToGlobal(QPoint(0, bNew->height())));
}

void Tfsis_diseno::iniciaNuevo(int depende)
{
    try {
        DependeNuevo = depende;
        Nuevo = true;
        Edit1->setText(QString::number(m_diseno.siguienteClave()));
        Edit2->clear();
        abreBotones();
        poneBotones();
        Edit2->setFocus();
    } catch (const std::exception &e) {
        Nuevo = false;
        ErrorConRollback(m_sesion, e);
        poneBotones();
    }
}

void Tfsis_diseno::bEditClick()
{
    if (!Lista->currentItem())
        return;
    Editando = true;
    abreBotones();
    poneBotones();
    Edit2->setFocus();
}

void Tfsis_diseno::bSaveClick()
{
    const QString titulo = Edit2->text();
    if (titulo.trimmed().isEmpty()) {
        aviso(QStringLiteral("Debe escribir un título para el menú"));
        return;
    }
    QTreeWidgetItem *nodo = Lista->currentItem();
    QString error;
    if (Editando) {
        error = m_diseno.editaMenu(Edit1->text().toInt(), titulo);
        if (error.isEmpty() && nodo)
            nodo->setText(0, titulo);
    } else if (Nuevo) {
        int clave = 0;
        error = m_diseno.nuevoMenu(titulo, DependeNuevo, &clave);
        if (error.isEmpty()) {
            Nuevo = false;
            auto *item = DependeNuevo != 0 && nodo ? new QTreeWidgetItem(nodo)
                                                   : new QTreeWidgetItem(Lista);
            item->setText(0, titulo);
            item->setData(0, Qt::UserRole, clave);
            Lista->setCurrentItem(item);
        }
    }
    if (!error.isEmpty()) {
        aviso(QStringLiteral("No fue posible guardar el menú: ") + error);
        return;
    }
    Nuevo = false;
    Editando = false;
    ListaChange();
}

void Tfsis_diseno::bCancelClick()
{
    Nuevo = false;
    Editando = false;
    poneBotones();
    Lista->setFocus();
    ListaChange();
}

bool Tfsis_diseno::borra(QTreeWidgetItem *nodo)
{
    if (nodo->childCount() > 0) {
        // The children go, leaves first; the menu itself stays until it's deleted again.
        const QList<QTreeWidgetItem *> hijos = [nodo] {
            QList<QTreeWidgetItem *> l;
            for (int i = 0; i < nodo->childCount(); ++i)
                l << nodo->child(i);
            return l;
        }();
        for (QTreeWidgetItem *h : hijos) {
            if (!borra(h))
                return false;
        }
        return true;
    }
    const QString error = m_diseno.borraMenu(claveDe(nodo));
    if (!error.isEmpty()) {
        aviso(QStringLiteral("No fue posible borrar el registro: ") + error);
        return false;
    }
    delete nodo;
    return true;
}

void Tfsis_diseno::bDelClick()
{
    QTreeWidgetItem *nodo = Lista->currentItem();
    if (!nodo)
        return;
    const int r
        = MensajeSistema(QStringLiteral("¿Desea borrar \"") + nodo->text(0) + QStringLiteral("\"?"),
                         QStringLiteral("Borrar"),
                         mb::YesNo | mb::IconQuestion | mb::DefButton2);
    if (r != mb::IdYes)
        return;
    borra(nodo);
    ListaChange();
}

void Tfsis_diseno::bAddServClick()
{
    QTreeWidgetItem *nodo = Lista->currentItem();
    if (!nodo)
        return;
    ListaCols.clear();
    ListaCols << QStringLiteral("tag,,&Tag,70") << QStringLiteral("titulo,,Tit&ulo,300");
    if (MuestraListaDS(*mTags, QStringLiteral("Lista de módulos")) != 1 || mTags->isEmpty())
        return;
    const int tag = mTags->fieldByName(QStringLiteral("Tag")).asString().toInt();
    const QString titulo = mTags->fieldByName(QStringLiteral("Titulo")).asString();
    const QString error = m_diseno.agregaModulo(claveDe(nodo), tag, titulo);
    if (!error.isEmpty())
        aviso(QStringLiteral("No fue posible guardar el módulo: ") + error);
    abreBotones();
    poneBotones();
}

void Tfsis_diseno::bDelServClick()
{
    QTreeWidgetItem *nodo = Lista->currentItem();
    if (!nodo || btnQuery->isEmpty())
        return;
    if (MensajeSistema(QStringLiteral("¿Desea borrar el módulo de la lista?"),
                       QStringLiteral("Borrar"),
                       mb::YesNo | mb::IconQuestion | mb::DefButton2)
        != mb::IdYes)
        return;
    const QString error = m_diseno.borraModulo(claveDe(nodo), tagActual());
    if (!error.isEmpty())
        aviso(QStringLiteral("No fue posible borrar el módulo: ") + error);
    abreBotones();
    poneBotones();
}

void Tfsis_diseno::BitBtn1Click()
{
    const int tag = tagActual();
    if (tag <= 0)
        return;
    TfCheckButton f(this);
    if (f.exec() != QDialog::Accepted)
        return;
    const QString error = m_diseno.agregaDerecho(tag, f.vValor->text());
    if (!error.isEmpty())
        aviso(QStringLiteral("No fue posible guardar: ") + error);
    abreTags();
    poneBotones();
}

void Tfsis_diseno::BitBtn2Click()
{
    const int tag = tagActual();
    if (tag <= 0 || qTags->isEmpty())
        return;
    const QString error
        = m_diseno.borraDerecho(tag, qTags->fieldByName(QStringLiteral("lugar")).asInteger());
    if (!error.isEmpty())
        aviso(QStringLiteral("Error \r") + error);
    abreTags();
    poneBotones();
}

void Tfsis_diseno::BitBtn3Click()
{
    const int tag = tagActual();
    if (tag <= 0 || qTags->isEmpty())
        return;
    const int lugar = qTags->fieldByName(QStringLiteral("lugar")).asInteger();
    TfCheckButton f(this);
    f.vValor->setText(qTags->fieldByName(QStringLiteral("titulo")).asString());
    if (f.exec() != QDialog::Accepted)
        return;
    const QString error = m_diseno.renombraDerecho(tag, lugar, f.vValor->text());
    if (!error.isEmpty())
        aviso(QStringLiteral("No fue posible guardar: ") + error);
    abreTags();
    poneBotones();
}

} // namespace lar
