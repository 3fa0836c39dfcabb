#include "modseguridad.h"

#include "core/acceso.h"
#include "core/navegacion.h"
#include "core/sesion.h"
#include "shared/listas.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"
#include "toolkit/safecheckgroup.h"
#include "toolkit/tag.h"

#include <QApplication>
#include <QEvent>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QSplitter>
#include <QTreeWidget>
#include <QVBoxLayout>

#include <algorithm>

namespace lar {

namespace {

constexpr quint32 kModificarPermisos = 2;

// The hourglass while a routine runs, however it ends.
struct Reloj
{
    Reloj() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~Reloj() { QApplication::restoreOverrideCursor(); }
};

// The height of a module's group by its count of boxes.
int altoGrupo(int n)
{
    if (n == 1)
        return 40;
    if (n == 2)
        return 65;
    if (n <= 5)
        return n * 25;
    return n * 22;
}

int claveDe(const QTreeWidgetItem *item)
{
    return item ? item->data(0, Qt::UserRole).toInt() : 0;
}

} // namespace

TfModSeguridad::TfModSeguridad(Sesion &sesion, QWidget *parent)
    : QDialog(parent)
    , m_sesion(sesion)
    , m_datos(sesion)
    , mUsuarios(std::make_unique<MemTable>())
{
    setObjectName(QStringLiteral("TfModSeguridad"));
    setWindowTitle(QStringLiteral("Módulo de Seguridad"));
    SetTag(this, kTag);

    vPers = new QLineEdit(QStringLiteral(" < Seleccione un usuario >"), this);
    vPers->setObjectName(QStringLiteral("vPers"));
    vPers->setReadOnly(true);
    vPers->setAccessibleName(QStringLiteral("Usuario"));
    bPers = new QPushButton(QStringLiteral("..."), this);
    bPers->setObjectName(QStringLiteral("bPers"));
    bPers->setToolTip(QStringLiteral("Lista de usuarios"));
    bPers->setAccessibleName(QStringLiteral("Lista de usuarios"));
    bPers->setAutoDefault(false);
    bEditUsr = new QPushButton(QStringLiteral("Modificar"), this);
    bEditUsr->setObjectName(QStringLiteral("bEditUsr"));
    bSaveUsr = new QPushButton(QStringLiteral("Guardar"), this);
    bSaveUsr->setObjectName(QStringLiteral("bSaveUsr"));
    bCancelUsr = new QPushButton(QStringLiteral("Cancelar"), this);
    bCancelUsr->setObjectName(QStringLiteral("bCancelUsr"));
    for (QPushButton *b : {bEditUsr, bSaveUsr, bCancelUsr}) {
        b->setAutoDefault(false);
        b->setEnabled(false);
    }

    Tree = new QTreeWidget(this);
    Tree->setObjectName(QStringLiteral("Tree"));
    Tree->setHeaderHidden(true);
    Tree->setAccessibleName(QStringLiteral("Menús"));
    Title = new QLabel(this);
    Title->setObjectName(QStringLiteral("Title"));
    QFont negrita = Title->font();
    negrita.setBold(true);
    negrita.setPointSize(negrita.pointSize() + 2);
    Title->setFont(negrita);
    ScrollBox = new QScrollArea(this);
    ScrollBox->setObjectName(QStringLiteral("ScrollBox"));
    // Not a Tab stop of its own: Tab goes through the check groups inside, and the
    // area scrolls to the one that takes the focus.
    ScrollBox->setFocusPolicy(Qt::NoFocus);
    ScrollBox->setWidgetResizable(false);
    ScrollBox->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_lienzo = new QWidget;
    ScrollBox->setWidget(m_lienzo);
    ScrollBox->installEventFilter(this);

    auto *arriba = new QHBoxLayout;
    arriba->addWidget(new QLabel(QStringLiteral("Usuario:"), this));
    arriba->addWidget(vPers, 1);
    arriba->addWidget(bPers);
    arriba->addSpacing(12);
    arriba->addWidget(bEditUsr);
    arriba->addWidget(bSaveUsr);
    arriba->addWidget(bCancelUsr);
    auto *derecha = new QWidget(this);
    auto *dv = new QVBoxLayout(derecha);
    dv->setContentsMargins(0, 0, 0, 0);
    dv->addWidget(Title);
    dv->addWidget(ScrollBox, 1);
    auto *split = new QSplitter(this);
    split->addWidget(Tree);
    split->addWidget(derecha);
    split->setStretchFactor(1, 1);
    split->setSizes({240, 560});
    auto *v = new QVBoxLayout(this);
    v->addLayout(arriba);
    v->addWidget(split, 1);
    resize(820, 560);

    // The pool of groups, made once and reused for every menu.
    QFont fuente = font();
    fuente.setBold(true);
    for (int i = 0; i < kGrupos; ++i) {
        auto *g = new TSafeCheckGroup(m_lienzo);
        g->setObjectName(QStringLiteral("Grupo%1").arg(i + 1));
        g->setFont(fuente);
        g->hide();
        g->move(5, 4);
        connect(g, &TSafeCheckGroup::buttonClick, this, [this, g](int) { marcaCambiado(Tag(g)); });
        Grupos << g;
    }
    Valores.fill(0);

    mUsuarios->addField(QStringLiteral("nombre"), FieldType::String, 50);
    mUsuarios->open();

    connect(bPers, &QPushButton::clicked, this, &TfModSeguridad::bPersClick);
    connect(bEditUsr, &QPushButton::clicked, this, &TfModSeguridad::bEditUsrClick);
    connect(bSaveUsr, &QPushButton::clicked, this, &TfModSeguridad::bSaveUsrClick);
    connect(bCancelUsr, &QPushButton::clicked, this, &TfModSeguridad::bCancelUsrClick);
    connect(Tree, &QTreeWidget::currentItemChanged, this, [this] {
        if (Cargando)
            return;
        TreeChanging();
        TreeChange();
    });
}

TfModSeguridad::~TfModSeguridad() = default;

void TfModSeguridad::showEvent(QShowEvent *ev)
{
    QDialog::showEvent(ev);
    if (m_mostrada)
        return;
    m_mostrada = true;
    FormShow();
}

void TfModSeguridad::FormShow()
{
    AccesoForma = m_sesion.Permisos[kTag];
    Conectado = Conectar(m_sesion, m_sesion.fbConfig());
    if (!Conectado)
        return;
    try {
        m_sesion.ConfigInicia();
        construyeArbol();
    } catch (const std::exception &e) {
        ErrorConRollback(m_sesion, e);
    }
}

void TfModSeguridad::construyeArbol()
{
    Cargando = true;
    Tree->clear();
    const QList<MenuSeguridad> menus = m_datos.menus();
    // A menu is reached once, even if the rows make a loop.
    QSet<int> puestos;
    std::function<void(int, QTreeWidgetItem *)> agrega = [&](int depende, QTreeWidgetItem *padre) {
        for (const MenuSeguridad &m : menus) {
            if (m.depende != depende || puestos.contains(m.clave))
                continue;
            puestos.insert(m.clave);
            auto *item = padre ? new QTreeWidgetItem(padre) : new QTreeWidgetItem(Tree);
            item->setText(0, m.titulo);
            item->setData(0, Qt::UserRole, m.clave);
            agrega(m.clave, item);
        }
    };
    agrega(0, nullptr);
    Tree->sortItems(0, Qt::AscendingOrder);
    Tree->expandAll();
    Cargando = false;
    if (Tree->topLevelItemCount() > 0)
        Tree->setCurrentItem(Tree->topLevelItem(0));
}

QList<TSafeCheckGroup *> TfModSeguridad::gruposVisibles() const
{
    QList<TSafeCheckGroup *> r;
    for (TSafeCheckGroup *g : Grupos) {
        if (!g->isHidden())
            r << g;
    }
    return r;
}

void TfModSeguridad::TreeChanging()
{
    if (bSaveUsr->isEnabled())
        leeGrupos();
}

void TfModSeguridad::TreeChange()
{
    QTreeWidgetItem *nodo = Tree->currentItem();
    if (!nodo)
        return;
    try {
        Modulos = m_datos.modulos(claveDe(nodo));
        Reloj reloj;
        const int ancho = ScrollBox->width() - 35;
        const bool habilitados = bSaveUsr->isEnabled() && PuedeEditar;
        int arriba = 4;
        int usados = 0;
        for (const ModuloSeguridad &m : std::as_const(Modulos)) {
            // The seeded menus hold a handful of modules; more than the pool isn't shown.
            if (usados >= kGrupos)
                break;
            // Rights are kept for tags 1 to 79 only.
            if (m.tag < 1 || m.tag > 79)
                continue;
            TSafeCheckGroup *g = Grupos[usados];
            const QStringList derechos = m_datos.derechos(m.tag);
            // A module without rights has nothing to tick: its slot goes to the next.
            if (derechos.isEmpty())
                continue;
            SetTag(g, m.tag);
            g->setTitle(m.titulo);
            g->setItems(derechos);
            g->setPrimaryIndex(0);
            g->setPrimary(false);
            g->setValue(Valores[size_t(m.tag)]);
            const int alto = altoGrupo(int(derechos.size()));
            g->setGeometry(5, arriba, ancho, alto);
            g->setEnabled(habilitados);
            g->show();
            arriba += alto + 10;
            ++usados;
        }
        for (int i = usados; i < kGrupos; ++i)
            Grupos[i]->hide();
        m_lienzo->resize(ScrollBox->viewport()->width(), arriba);

        QTreeWidgetItem *raiz = nodo;
        while (raiz->parent())
            raiz = raiz->parent();
        QString titulo = nodo->text(0);
        if (raiz->text(0) != nodo->text(0))
            titulo = raiz->text(0) + QStringLiteral(" - ") + nodo->text(0);
        Title->setText(usados > 0 ? titulo : QString());
    } catch (const std::exception &e) {
        ErrorConRollback(m_sesion, e);
    }
}

void TfModSeguridad::bPersClick()
{
    try {
        if (Conectado && !UsuariosCargados) {
            mUsuarios->emptyTable();
            const QStringList nombres = m_datos.usuarios();
            for (const QString &n : nombres)
                mUsuarios->appendRecord({n});
            UsuariosCargados = true;
        }
    } catch (const std::exception &e) {
        ErrorConRollback(m_sesion, e);
        return;
    }
    ListaCols.clear();
    ListaCols << QStringLiteral("nombre,,&Nombre,400");
    if (MuestraListaDS(*mUsuarios, QStringLiteral("Lista de usuarios")) != 1
        || mUsuarios->isEmpty())
        return;
    eligeUsuario(mUsuarios->fieldByName(QStringLiteral("nombre")).asString());
}

void TfModSeguridad::eligeUsuario(const QString &nombre)
{
    try {
        if (Tree->topLevelItemCount() == 0)
            construyeArbol();
        UsuarioEditado = nombre;
        vPers->setText(nombre);
        cargaPermisos();
        bEditUsr->setEnabled((AccesoForma & kModificarPermisos) != 0);
    } catch (const std::exception &e) {
        ErrorConRollback(m_sesion, e);
    }
}

void TfModSeguridad::cargaPermisos()
{
    Reloj reloj;
    Valores = m_datos.permisos(UsuarioEditado);
    asignaValores();
    Cambiados.clear();
}

void TfModSeguridad::asignaValores()
{
    const QList<TSafeCheckGroup *> grupos = gruposVisibles();
    for (TSafeCheckGroup *g : grupos)
        g->setValue(Valores[size_t(Tag(g))]);
}

void TfModSeguridad::leeGrupos()
{
    const QList<TSafeCheckGroup *> grupos = gruposVisibles();
    for (TSafeCheckGroup *g : grupos)
        Valores[size_t(Tag(g))] = g->value();
}

void TfModSeguridad::habilitaGrupos(bool si)
{
    const QList<TSafeCheckGroup *> grupos = gruposVisibles();
    for (TSafeCheckGroup *g : grupos)
        g->setEnabled(si);
}

void TfModSeguridad::marcaCambiado(int tag)
{
    const auto it = std::lower_bound(Cambiados.begin(), Cambiados.end(), tag);
    if (it == Cambiados.end() || *it != tag)
        Cambiados.insert(it, tag);
}

void TfModSeguridad::bEditUsrClick()
{
    bPers->setEnabled(false);
    bEditUsr->setEnabled(false);
    bSaveUsr->setEnabled(true);
    bCancelUsr->setEnabled(true);
    PuedeEditar = (AccesoForma & kModificarPermisos) != 0;
    habilitaGrupos(PuedeEditar);
    Cambiados.clear();
    Respaldo = Valores;
}

void TfModSeguridad::botonesFueraDeEdicion()
{
    bEditUsr->setEnabled(true);
    bPers->setEnabled(true);
    bSaveUsr->setEnabled(false);
    bCancelUsr->setEnabled(false);
    habilitaGrupos(false);
}

void TfModSeguridad::bSaveUsrClick()
{
    leeGrupos();
    const QString error = m_datos.guarda(UsuarioEditado, Valores, Cambiados);
    if (!error.isEmpty())
        MensajeSistema(QStringLiteral("No fue posible guardar los permisos: ") + error,
                       QStringLiteral("Aviso del sistema"),
                       mb::IconWarning);
    botonesFueraDeEdicion();
}

void TfModSeguridad::bCancelUsrClick()
{
    botonesFueraDeEdicion();
    Cambiados.clear();
    Valores = Respaldo;
    asignaValores();
}

bool TfModSeguridad::eventFilter(QObject *obj, QEvent *ev)
{
    if (obj == ScrollBox && ev->type() == QEvent::Resize)
        ajustaAncho();
    return QDialog::eventFilter(obj, ev);
}

void TfModSeguridad::ajustaAncho()
{
    m_lienzo->resize(ScrollBox->viewport()->width(), m_lienzo->height());
    for (TSafeCheckGroup *g : std::as_const(Grupos))
        g->resize(ScrollBox->width() - 35, g->height());
}

} // namespace lar
