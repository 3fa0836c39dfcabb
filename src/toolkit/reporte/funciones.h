#pragma once

#include <QString>
#include <QStringList>
#include <QVariant>

#include <functional>

namespace lar::reporte {

// A function the program adds to the report scripts. The signature is Pascal-like
// text, "procedure GetParam(Reporte: TppReport; NombreParametro: string; var
// Valor: Variant; var Tipo: string);": what the function list shows, and what marks
// the `var` arguments. ejecuta reads the arguments by index and may write back
// into them; what it leaves in resultado is what the script gets.
//
// A script passes a `var` argument as an object with a `value` property, which
// receives the written value:  var tipo = {value: ''}; GetParam(Reporte, 'X', v, tipo);
// Any other value is passed by value and the write is lost, as with a constant.
struct FuncionScript
{
    using Ejecuta = std::function<void(QVariantList &argumentos, QVariant &resultado)>;

    QString nombre; // what the script calls
    QString categoria;
    QString firma;
    Ejecuta ejecuta;

    // The 0-based positions of the `var` arguments of the signature.
    QList<int> argumentosVar() const;
};

// The process-wide list of registered functions, shared by every report run after
// the registration. Main thread only.
class FuncionesScript
{
public:
    // Registers or replaces the function of that name (names compare
    // case-insensitively, as the scripts' identifiers of the signature do not).
    static void registra(const FuncionScript &funcion);
    // Removes it; false when there was none.
    static bool quita(const QString &nombre);
    static const QList<FuncionScript> &todas();
    static const FuncionScript *busca(const QString &nombre);
};

} // namespace lar::reporte
