#include "funciones.h"

#include <QRegularExpression>

namespace lar::reporte {

namespace {
QList<FuncionScript> &lista()
{
    static QList<FuncionScript> funciones;
    return funciones;
}
} // namespace

QList<int> FuncionScript::argumentosVar() const
{
    QList<int> posiciones;
    const qsizetype abre = firma.indexOf(u'(');
    const qsizetype cierra = firma.lastIndexOf(u')');
    if (abre < 0 || cierra < abre)
        return posiciones;
    // Groups are split by ';', names inside a group by ','; a group that starts
    // with "var" makes all its names var arguments.
    int n = 0;
    const QStringList grupos = firma.mid(abre + 1, cierra - abre - 1).split(u';');
    static const QRegularExpression reVar(QStringLiteral("^\\s*var\\s+"),
                                          QRegularExpression::CaseInsensitiveOption);
    for (const QString &g : grupos) {
        const QString nombres = g.section(u':', 0, 0).trimmed();
        if (nombres.isEmpty())
            continue;
        const bool esVar = reVar.match(nombres).hasMatch();
        const int cuantos = int(nombres.count(u',')) + 1;
        for (int i = 0; i < cuantos; ++i, ++n) {
            if (esVar)
                posiciones << n;
        }
    }
    return posiciones;
}

void FuncionesScript::registra(const FuncionScript &funcion)
{
    quita(funcion.nombre);
    lista().append(funcion);
}

bool FuncionesScript::quita(const QString &nombre)
{
    return lista().removeIf([&](const FuncionScript &f) {
        return f.nombre.compare(nombre, Qt::CaseInsensitive) == 0;
    }) > 0;
}

const QList<FuncionScript> &FuncionesScript::todas()
{
    return lista();
}

const FuncionScript *FuncionesScript::busca(const QString &nombre)
{
    for (const FuncionScript &f : lista()) {
        if (f.nombre.compare(nombre, Qt::CaseInsensitive) == 0)
            return &f;
    }
    return nullptr;
}

} // namespace lar::reporte
