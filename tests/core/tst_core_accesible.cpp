// The main window and the login dialogs as assistive technology and the keyboard
// reach them: every ribbon entry under its tab and group with its caption and the
// role of a button, collapsed or not; the ribbon walked from the tab bar with the
// keys alone; no control of these screens without a role, a name or a Tab stop.

#include "core/acceso.h"
#include "core/conecta.h"
#include "core/fmain.h"
#include "core/presentacion.h"
#include "core/sesion.h"
#include "db/dbscript.h"
#include "support/accesibilidad.h"
#include "support/guionmensajes.h"
#include "support/testmain.h"
#include "toolkit/ribbon.h"

#include <QAccessible>
#include <QAction>
#include <QApplication>
#include <QComboBox>
#include <QSignalSpy>
#include <QTabBar>
#include <QToolButton>

#include <memory>

using namespace Qt::StringLiterals;
using namespace lar;

namespace {

// The design's entries in order, as "tab / group / name"; "Diseño" is hidden for
// everyone.
const QStringList kEntradas = {
    u"Catálogos / Artículos / Artículos con puntos"_s,
    u"Operación / Operaciónes / Canje de puntos"_s,
    u"Operación / Operaciónes / Asigna o Retira Puntos a Clientes"_s,
    u"Operación / Operaciónes / Asignar puntos por actividad a Empleados"_s,
    u"Reportes / Reportes / Compras por cliente"_s,
    u"Reportes / Reportes / Artículos más vendidos"_s,
    u"Reportes / Reportes / Buscador clientes"_s,
    u"Reportes / Reportes / Historial puntos"_s,
    u"Sistema / Seguridad / Permisos del sistema"_s,
    u"Sistema / Sistema / Base de Datos"_s,
    u"Sistema / Sistema / Configuración del sistema"_s,
    u"Sistema / Sistema / Acerca de"_s,
};

// "tab / group / name" of every button below the ribbon's interface, checking on
// the way that each child names its parent.
QStringList recorre(QAccessibleInterface *ribbon, QStringList &fuera, QStringList &errores)
{
    QStringList out;
    auto nombre = [](QAccessibleInterface *a) {
        return a->text(QAccessible::Name);
    };
    for (int i = 0; i < ribbon->childCount(); ++i) {
        QAccessibleInterface *tab = ribbon->child(i);
        if (tab->parent() != ribbon || ribbon->indexOfChild(tab) != i)
            errores << u"padre de "_s + nombre(tab);
        if (tab->role() == QAccessible::PushButton) {
            fuera << nombre(tab);
            continue;
        }
        if (tab->role() != QAccessible::PageTab)
            errores << u"papel de "_s + nombre(tab);
        for (int j = 0; j < tab->childCount(); ++j) {
            QAccessibleInterface *grupo = tab->child(j);
            if (grupo->parent() != tab || grupo->role() != QAccessible::Grouping)
                errores << u"grupo "_s + nombre(grupo);
            for (int k = 0; k < grupo->childCount(); ++k) {
                QAccessibleInterface *b = grupo->child(k);
                if (b->parent() != grupo || grupo->indexOfChild(b) != k)
                    errores << u"padre de "_s + nombre(b);
                if (b->role() != QAccessible::PushButton)
                    errores << u"papel de "_s + nombre(b);
                out << nombre(tab) + u" / "_s + nombre(grupo) + u" / "_s + nombre(b);
            }
        }
    }
    return out;
}

QAccessibleInterface *busca(QAccessibleInterface *raiz, QObject *objeto)
{
    if (raiz->object() == objeto)
        return raiz;
    for (int i = 0; i < raiz->childCount(); ++i) {
        if (QAccessibleInterface *c = busca(raiz->child(i), objeto))
            return c;
    }
    return nullptr;
}

} // namespace

class TstAccesible : public QObject
{
    Q_OBJECT

    std::unique_ptr<TfMain> m_main;

private slots:
    void initTestCase()
    {
        m_main = std::make_unique<TfMain>();
        m_main->fPrimeraActivacion = false; // no login: the window as it is built
        m_main->show();
        QVERIFY(QTest::qWaitForWindowExposed(m_main.get()));
        QTRY_VERIFY_WITH_TIMEOUT(QApplication::activeModalWidget() == nullptr, 10000); // the splash
        m_main->activateWindow();
        QTRY_VERIFY(m_main->isActiveWindow());
    }

    void cleanupTestCase() { m_main.reset(); }

    // Collapsed (as the window starts) and unfolded, the tree below the main
    // window holds every entry, under its tab and group, as a named button.
    void entradasDelRibbon()
    {
        TfMain &m = *m_main;
        for (const bool colapsado : {true, false}) {
            m.dxRibbon->setColapsado(colapsado);
            QAccessibleInterface *raiz = QAccessible::queryAccessibleInterface(&m);
            QAccessibleInterface *ribbon = busca(raiz, m.dxRibbon);
            QVERIFY2(ribbon, "the ribbon isn't below the main window");
            QCOMPARE(ribbon->role(), QAccessible::PageTabList);
            QStringList fuera;
            QStringList errores;
            const QStringList entradas = recorre(ribbon, fuera, errores);
            QCOMPARE(errores, QStringList());
            QCOMPARE(entradas, kEntradas);
            QCOMPARE(fuera, QStringList{u"Salir"_s});
            // The captions on screen: a tab's rectangle is its caption's.
            QAccessibleInterface *operacion = ribbon->child(1);
            QVERIFY(!operacion->state().invisible);
            QVERIFY(ribbon->childAt(operacion->rect().center().x(), operacion->rect().center().y())
                    == operacion);
        }
        m.dxRibbon->setColapsado(true);
    }

    // A tab's action drops its groups down; an entry's action runs its command.
    void accionesAccesibles()
    {
        TfMain &m = *m_main;
        QAccessibleInterface *ribbon = busca(QAccessible::queryAccessibleInterface(&m), m.dxRibbon);
        QAccessibleInterface *sistema = ribbon->child(3);
        QVERIFY(sistema->actionInterface());
        sistema->actionInterface()->doAction(QAccessibleActionInterface::pressAction());
        QTRY_VERIFY(m.dxRibbon->desplegado());
        QCOMPARE(m.dxRibbon->tabActiva(), m.tabSistema);
        QVERIFY(sistema->state().selected);
        m.dxRibbon->findChild<QWidget *>(u"panelGrupos"_s)->hide();
        QTRY_VERIFY(!m.dxRibbon->desplegado());
    }

    // From the tab bar: arrows choose the tab, Down goes into its entries, Tab
    // walks them, Enter presses one, Escape folds the tab away again.
    void ribbonConTeclado()
    {
        TfMain &m = *m_main;
        auto *barra = m.dxRibbon->findChild<QTabBar *>(u"barraTabs"_s);
        QVERIFY(barra);
        QVERIFY(barra->focusPolicy() & Qt::TabFocus);
        barra->setFocus(Qt::TabFocusReason);
        barra->setCurrentIndex(0);
        QTest::keyClick(barra, Qt::Key_Right);
        QCOMPARE(m.dxRibbon->tabActiva(), m.tabReportes); // "Operación"
        QTest::keyClick(barra, Qt::Key_Down);
        QTRY_VERIFY(m.dxRibbon->desplegado());
        QWidget *foco = QApplication::focusWidget();
        QVERIFY(foco);
        QCOMPARE(foco->objectName(), u"bVentasPuntos"_s);
        QTest::keyClick(foco, Qt::Key_Tab);
        foco = QApplication::focusWidget();
        QCOMPARE(foco->objectName(), u"bAsignaPuntos"_s);
        QTest::keyClick(foco, Qt::Key_Escape);
        QTRY_VERIFY(!m.dxRibbon->desplegado());
        QTRY_COMPARE(QApplication::focusWidget(), barra);

        lartest::GuionMensajes guion; // the entry's command may speak
        QTest::keyClick(barra, Qt::Key_Down);
        QTRY_VERIFY(m.dxRibbon->desplegado());
        auto *canje = qobject_cast<QAbstractButton *>(QApplication::focusWidget());
        QVERIFY(canje);
        QCOMPARE(canje->objectName(), u"bVentasPuntos"_s);
        QSignalSpy pulsado(canje, &QAbstractButton::clicked);
        QTest::keyClick(canje, Qt::Key_Return);
        QCOMPARE(pulsado.count(), 1);
        QTRY_VERIFY(!m.dxRibbon->desplegado());
    }

    // Every entry shows a picture of its own in both sizes, compiled in; a
    // disabled entry's is grey and faded.
    void iconosDelRibbon()
    {
        TfMain &m = *m_main;
        QList<QImage> vistas;
        const QList<RibbonBoton *> botones = m.findChildren<RibbonBoton *>();
        QCOMPARE(botones.size(), kEntradas.size() + 2); // plus "Diseño" and "Salir"
        for (RibbonBoton *b : botones) {
            const QIcon icono = b->icon();
            const QString n = b->objectName();
            QVERIFY2(icono.availableSizes().contains(QSize(16, 16)), qPrintable(n));
            QVERIFY2(icono.availableSizes().contains(QSize(32, 32)), qPrintable(n));
            const QImage normal = icono.pixmap(b->iconSize()).toImage();
            QVERIFY2(!vistas.contains(normal), qPrintable(n + u": repeated picture"_s));
            vistas << normal;
            const QImage apagada = icono.pixmap(b->iconSize(), QIcon::Disabled).toImage();
            bool gris = true;
            int opacoNormal = 0;
            int opacoApagada = 0;
            for (int y = 0; y < apagada.height(); ++y) {
                for (int x = 0; x < apagada.width(); ++x) {
                    const QRgb p = apagada.pixel(x, y);
                    gris = gris && qRed(p) == qGreen(p) && qGreen(p) == qBlue(p);
                    opacoApagada += qAlpha(p);
                    opacoNormal += qAlpha(normal.pixel(x, y));
                }
            }
            QVERIFY2(gris, qPrintable(n));
            QVERIFY2(opacoApagada < opacoNormal * 6 / 10, qPrintable(n));
        }
    }

    // No control of these screens lacks a role, a name or a Tab stop.
    void pantallasSinFaltas()
    {
        TfMain &m = *m_main;
        m.dxRibbon->setColapsado(false);
        m.bClose->show();
        m.vFiltro->show();
        LAR_VERIFICA_ACCESIBLE(&m);
        m.bClose->hide();
        m.vFiltro->hide();
        m.dxRibbon->setColapsado(true);

        Sesion s;
        TfConecta conecta(s);
        LAR_VERIFICA_ACCESIBLE(&conecta);
        TfEmpresas empresas;
        LAR_VERIFICA_ACCESIBLE(&empresas);
        TfAcceso acceso(s);
        LAR_VERIFICA_ACCESIBLE(&acceso);
        TfDBScript script(s);
        LAR_VERIFICA_ACCESIBLE(&script);
        TfPresentacion acerca(u"Puntos Larvenos"_s, true);
        LAR_VERIFICA_ACCESIBLE(&acerca);
    }
};

LAR_TEST_MAIN(TstAccesible)
#include "tst_core_accesible.moc"
