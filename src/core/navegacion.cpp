#include "navegacion.h"

#include "acceso.h"
#include "mform.h"
#include "registro.h"
#include "sesion.h"

#include "fb/error.h"
#include "toolkit/memgrid.h"
#include "toolkit/memtable.h"
#include "toolkit/mensajes.h"

#include <QHash>

namespace lar {

namespace {

QHash<int, FilaModulo> &modulos()
{
    static QHash<int, FilaModulo> m;
    return m;
}

} // namespace

void RegistraModulo(const FilaModulo &modulo)
{
    modulos().insert(modulo.tag, modulo);
}

void QuitaModulo(int tag)
{
    modulos().remove(tag);
}

const FilaModulo *BuscaModulo(int tag)
{
    auto it = modulos().constFind(tag);
    return it == modulos().constEnd() ? nullptr : &it.value();
}

FormasAbiertas &FormasAbiertasLista()
{
    static FormasAbiertas f;
    return f;
}

QString ClaveForma(const QString &clase, const QString &titulo)
{
    return clase + titulo;
}

void QuitaForma(const QString &clave)
{
    FormasAbiertas &f = FormasAbiertasLista();
    const int i = int(f.nombres.indexOf(clave));
    if (i < 0)
        return;
    f.nombres.removeAt(i);
    f.formas.removeAt(i);
}

bool TienePermiso(Sesion &sesion, int modulo, quint32 mascara, const QString &texto)
{
    if ((sesion.Permisos[modulo] & mascara) == mascara)
        return true;
    const int r = MensajeSistema(QStringLiteral("No tiene permisos para ") + texto + u'\r'
                                     + QStringLiteral("¿Desea que otro usuario lo autorice?"),
                                 QStringLiteral("Permisos"),
                                 mb::YesNo | mb::IconQuestion | mb::DefButton2);
    if (r != mb::IdYes)
        return false;
    return AutorizaUsuario(sesion, modulo, mascara, false);
}

QString TextoExcepcion(const std::exception &e)
{
    if (const auto *fe = dynamic_cast<const fb::Error *>(&e))
        return fe->message();
    return QString::fromLocal8Bit(e.what());
}

void ErrorConRollback(Sesion &sesion, const std::exception &e)
{
    try {
        sesion.UpdateRollback();
    } catch (const std::exception &) {
        // The connection may be what failed; the message matters more.
    }
    MensajeSistema(TextoExcepcion(e), QStringLiteral("Error"), mb::IconStop);
}

bool RevisaDB(Sesion &sesion, bool silencioso)
{
    const VerificacionDB r = VerificaDB(sesion, silencioso);
    if (!r.aviso.isEmpty())
        MensajeSistema(r.aviso, QStringLiteral("Aviso del sistema"), mb::IconWarning);
    if (r.terminar && sesion.terminaAplicacion)
        sesion.terminaAplicacion();
    return r.ok;
}

void LlenaCatalogo(LookupCombo *control, std::unique_ptr<MemTable> catalogo)
{
    MemTable *anterior = control->lookupTable();
    MemTable *mem = catalogo.release();
    mem->setParent(control);
    control->setLookup(mem, QStringLiteral("Clave"), QStringLiteral("Nombre"));
    if (anterior && anterior != mem && anterior->parent() == control
        && anterior->objectName() == u"mCatalogo") // one of ours: nobody else holds it
        delete anterior;
    if (!mem->isEmpty())
        control->setCurrentIndex(0);
}

} // namespace lar
