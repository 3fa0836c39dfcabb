#include "catalogo_p.h"

namespace microsip::detail {

// The lists are laid out as tables.
// clang-format off
const std::vector<const char16_t *> &nombresPila()
{
    static const std::vector<const char16_t *> v{
        u"José",      u"María",      u"Juan",      u"Guadalupe", u"Francisco", u"Juana",
        u"Antonio",   u"Margarita",  u"Jesús",     u"Verónica",  u"Miguel Ángel", u"Leticia",
        u"Pedro",     u"Rosa María", u"Alejandro", u"Sofía",     u"Manuel",    u"Lucía",
        u"Ricardo",   u"Patricia",   u"Fernando",  u"Adriana",   u"Jorge",     u"Mónica",
        u"Luis",      u"Ana",        u"Carlos",    u"Gabriela",  u"Raúl",      u"Claudia",
        u"Sergio",    u"Alejandra",  u"Arturo",    u"Beatriz",   u"Roberto",   u"Mariana",
        u"Eduardo",   u"Rocío",      u"Héctor",    u"Concepción", u"Óscar",    u"Inés",
        u"Rubén",     u"Ximena",     u"Andrés",    u"Itzel",     u"Martín",    u"Araceli",
        u"Ramón",     u"Citlali",    u"Efraín",    u"Paulina",   u"Joaquín",   u"Noemí",
        u"Tomás",     u"Dolores",    u"Germán",    u"Maricruz",  u"Sebastián", u"Begoña"};
    return v;
}

const std::vector<const char16_t *> &apellidos()
{
    static const std::vector<const char16_t *> v{
        u"Hernández", u"García",    u"Martínez",  u"López",     u"González",  u"Pérez",
        u"Rodríguez", u"Sánchez",   u"Ramírez",   u"Cruz",      u"Flores",    u"Gómez",
        u"Morales",   u"Vázquez",   u"Jiménez",   u"Reyes",     u"Díaz",      u"Torres",
        u"Gutiérrez", u"Ruiz",      u"Mendoza",   u"Aguilar",   u"Ortiz",     u"Moreno",
        u"Castillo",  u"Romero",    u"Álvarez",   u"Méndez",    u"Chávez",    u"Rivera",
        u"Juárez",    u"Ramos",     u"Domínguez", u"Herrera",   u"Medina",    u"Castro",
        u"Vargas",    u"Guzmán",    u"Velázquez", u"Muñoz",     u"Rojas",     u"Salazar",
        u"Núñez",     u"Peña",      u"Ibáñez",    u"Ordóñez",   u"Patiño",    u"Treviño",
        u"Zúñiga",    u"Montaño",   u"Cañedo",    u"Niño",      u"Ávila",     u"Sáenz",
        u"Garza",     u"Villarreal", u"Quintanilla", u"Elizondo", u"Cárdenas", u"Benítez"};
    return v;
}

const std::vector<const char16_t *> &estados()
{
    static const std::vector<const char16_t *> v{
        u"Aguascalientes", u"Baja California", u"Baja California Sur", u"Campeche",
        u"Chiapas",        u"Chihuahua",       u"Ciudad de México",    u"Coahuila",
        u"Colima",         u"Durango",         u"Estado de México",    u"Guanajuato",
        u"Guerrero",       u"Hidalgo",         u"Jalisco",             u"Michoacán",
        u"Morelos",        u"Nayarit",         u"Nuevo León",          u"Oaxaca",
        u"Puebla",         u"Querétaro",       u"Quintana Roo",        u"San Luis Potosí",
        u"Sinaloa",        u"Sonora",          u"Tabasco",             u"Tamaulipas",
        u"Tlaxcala",       u"Veracruz",        u"Yucatán",             u"Zacatecas"};
    return v;
}

const std::vector<Ciudad> &ciudades()
{
    // Nuevo León first and heavier: the demo shop is in Monterrey.
    static const std::vector<Ciudad> v{
        {u"Monterrey", 18},         {u"San Pedro Garza García", 18},
        {u"San Nicolás de los Garza", 18}, {u"Guadalupe", 18},
        {u"Apodaca", 18},           {u"Santa Catarina", 18},
        {u"General Escobedo", 18},  {u"Saltillo", 7},
        {u"Torreón", 7},            {u"Guadalajara", 14},
        {u"Zapopan", 14},           {u"León", 11},
        {u"Querétaro", 21},         {u"San Luis Potosí", 23},
        {u"Mérida", 30},            {u"Cancún", 22},
        {u"Puebla", 20},            {u"Morelia", 15},
        {u"Toluca", 10},            {u"Ciudad de México", 6},
        {u"Chihuahua", 5},          {u"Ciudad Juárez", 5},
        {u"Hermosillo", 25},        {u"Culiacán", 24},
        {u"Mazatlán", 24},          {u"Tijuana", 1},
        {u"Oaxaca de Juárez", 19},  {u"Tuxtla Gutiérrez", 4},
        {u"Villahermosa", 26},      {u"Aguascalientes", 0},
        {u"Zacatecas", 31},         {u"Durango", 9},
        {u"Xalapa", 29},            {u"Tampico", 27},
        {u"Reynosa", 27},           {u"La Paz", 2},
        {u"Cuernavaca", 16},        {u"Pachuca", 13}};
    return v;
}

const std::vector<const char16_t *> &colonias()
{
    static const std::vector<const char16_t *> v{
        u"Centro",          u"Del Valle",        u"Obispado",       u"Las Águilas",
        u"Jardines del Bosque", u"Providencia",  u"Chapultepec",    u"Mitras Centro",
        u"Cumbres",         u"Anáhuac",          u"Linda Vista",    u"San Jerónimo",
        u"Contry",          u"Moderna",          u"Roma Norte",     u"Condesa",
        u"Santa María",     u"Tecnológico",      u"Valle Oriente",  u"Residencial San Agustín",
        u"Los Pinos",       u"Buenos Aires",     u"Niño Artillero", u"Independencia",
        u"Álamos",          u"Bella Vista",      u"Cañada Blanca",  u"Lomas de San Francisco"};
    return v;
}

const std::vector<const char16_t *> &calles()
{
    static const std::vector<const char16_t *> v{
        u"Av. Benito Juárez",  u"Calle Miguel Hidalgo",     u"Av. Revolución",
        u"Calle 5 de Mayo",    u"Blvd. Díaz Ordaz",         u"Av. Constitución",
        u"Calle Morelos",      u"Av. Insurgentes",          u"Calle Zaragoza",
        u"Av. Lázaro Cárdenas", u"Calle Guerrero",          u"Av. Universidad",
        u"Calle Allende",      u"Calle Aldama",             u"Av. Madero",
        u"Calle Matamoros",    u"Av. Gonzalitos",           u"Calle Padre Mier",
        u"Av. Vasconcelos",    u"Calle Ocampo",             u"Av. Ruiz Cortines",
        u"Calle Álvaro Obregón", u"Calle Pino Suárez",      u"Av. Eugenio Garza Sada",
        u"Calle Niños Héroes", u"Calle Sor Juana Inés de la Cruz"};
    return v;
}

const std::vector<GrupoDemo> &grupos()
{
    static const std::vector<GrupoDemo> v{
        {u"Abarrotes",
         {{u"Café y té", u"CAF",
           {u"Café molido", u"Café soluble", u"Café en grano", u"Té de manzanilla", u"Té verde"},
           {u"250 g", u"500 g", u"1 kg"}, 35, 260, u"Pieza"},
          {u"Granos y semillas", u"GRA",
           {u"Frijol negro", u"Frijol pinto", u"Arroz súper extra", u"Lenteja", u"Garbanzo"},
           {u"500 g", u"1 kg", u"a granel"}, 18, 90, u"Pieza"},
          {u"Aceites y vinagres", u"ACE",
           {u"Aceite de maíz", u"Aceite de oliva", u"Vinagre de manzana"},
           {u"500 ml", u"1 l", u"3 l"}, 25, 220, u"Pieza"},
          {u"Enlatados", u"ENL",
           {u"Atún en agua", u"Chiles jalapeños", u"Elote amarillo", u"Frijoles refritos",
            u"Sardinas en tomate"},
           {u"140 g", u"220 g", u"400 g"}, 12, 60, u"Pieza"},
          {u"Panadería", u"PAN",
           {u"Pan blanco", u"Pan integral", u"Tortillas de harina", u"Galletas marías",
            u"Pan dulce surtido"},
           {u"pieza", u"paquete", u"caja"}, 8, 95, u"Pieza"}}},
        {u"Bebidas",
         {{u"Refrescos", u"REF",
           {u"Refresco de cola", u"Refresco de toronja", u"Refresco de manzana", u"Agua mineral"},
           {u"600 ml", u"2 l", u"3 l"}, 14, 48, u"Pieza"},
          {u"Jugos y néctares", u"JUG", {u"Jugo de naranja", u"Néctar de mango", u"Jugo de uva"},
           {u"250 ml", u"1 l", u"1.89 l"}, 9, 55, u"Pieza"},
          {u"Aguas", u"AGU", {u"Agua purificada", u"Agua de Jamaica concentrada"},
           {u"1 l", u"5 l", u"garrafón 20 l"}, 10, 65, u"Pieza"}}},
        {u"Lácteos y refrigerados",
         {{u"Leche", u"LEC", {u"Leche entera", u"Leche deslactosada", u"Leche semidescremada"},
           {u"1 l", u"1.5 l", u"paquete 6 l"}, 22, 160, u"Pieza"},
          {u"Quesos", u"QUE",
           {u"Queso panela", u"Queso Oaxaca", u"Queso manchego", u"Queso añejo"},
           {u"250 g", u"400 g", u"a granel"}, 38, 240, u"Pieza"},
          {u"Yogur y cremas", u"YOG", {u"Yogur natural", u"Yogur de fresa", u"Crema ácida"},
           {u"200 g", u"900 g"}, 12, 70, u"Pieza"}}},
        {u"Limpieza y hogar",
         {{u"Detergentes", u"DET",
           {u"Detergente en polvo", u"Detergente líquido", u"Suavizante de telas"},
           {u"1 kg", u"3 kg", u"5 l"}, 28, 210, u"Pieza"},
          {u"Limpiadores", u"LIM",
           {u"Limpiador multiusos", u"Cloro", u"Desengrasante", u"Limpiavidrios"},
           {u"500 ml", u"1 l", u"4 l"}, 15, 120, u"Pieza"},
          {u"Papel y desechables", u"PAP",
           {u"Papel higiénico", u"Servilletas", u"Toallas de cocina", u"Platos desechables"},
           {u"4 rollos", u"12 rollos", u"paquete 50 pzas"}, 18, 150, u"Pieza"}}},
        {u"Ferretería",
         {{u"Herramienta manual", u"HER",
           {u"Martillo de uña", u"Desarmador plano", u"Pinzas de electricista", u"Llave perica",
            u"Flexómetro"},
           {u"chico", u"mediano", u"grande"}, 45, 480, u"Pieza"},
          {u"Tornillería", u"TOR",
           {u"Tornillo para madera", u"Taquete de plástico", u"Clavo estándar",
            u"Pija autorroscante"},
           {u"caja 100 pzas", u"caja 500 pzas", u"a granel"}, 20, 180, u"Caja"},
          {u"Pinturas", u"PIN",
           {u"Pintura vinílica blanca", u"Esmalte anticorrosivo", u"Sellador acrílico",
            u"Brocha de pelo"},
           {u"1 l", u"4 l", u"19 l"}, 60, 1450, u"Pieza"}}},
        {u"Papelería",
         {{u"Cuadernos", u"CUA",
           {u"Cuaderno profesional", u"Cuaderno forma francesa", u"Libreta de taquigrafía"},
           {u"raya", u"cuadro chico", u"cuadro grande"}, 18, 75, u"Pieza"},
          {u"Escritura", u"ESC",
           {u"Bolígrafo punto mediano", u"Lápiz del número 2", u"Marcatextos",
            u"Plumón permanente"},
           {u"pieza", u"paquete 12 pzas"}, 6, 140, u"Pieza"}}},
        {u"Cuidado personal",
         {{u"Higiene", u"HIG",
           {u"Jabón de tocador", u"Shampoo", u"Pasta dental", u"Desodorante en barra",
            u"Crema corporal"},
           {u"chico", u"mediano", u"familiar"}, 15, 130, u"Pieza"},
          {u"Bebés", u"BEB", {u"Pañales etapa 3", u"Toallitas húmedas", u"Talco para bebé"},
           {u"paquete chico", u"paquete grande"}, 35, 420, u"Paquete"}}}};
    return v;
}

const std::vector<const char16_t *> &marcas()
{
    static const std::vector<const char16_t *> v{
        u"La Huerta",   u"Doña Lupe",    u"El Ñandú",    u"Sierra Madre", u"Los Altos",
        u"Don Chema",   u"La Güera",     u"Valle Verde", u"El Sureste",   u"Sol de Jalisco",
        u"Peñasco",     u"San Ángel",    u"Río Bravo",   u"La Campiña",   u"Maguey",
        u"Acuña",       u"Tres Marías",  u"Cañaveral",   u"El Buen Año",  u"Huasteca",
        u"Cumbres",     u"La Piñata",    u"Tizoc",       u"Xochitl",      u"Ébano"};
    return v;
}

const std::vector<const char16_t *> &variantes()
{
    static const std::vector<const char16_t *> v{u"",         u"económico", u"premium",
                                                 u"clásico",  u"ecológico", u"edición especial",
                                                 u"tradicional", u"de temporada"};
    return v;
}

const std::vector<const char16_t *> &servicios()
{
    static const std::vector<const char16_t *> v{u"Servicio de entrega a domicilio",
                                                 u"Boleto para rifa",
                                                 u"Afilado de herramienta",
                                                 u"Instalación básica",
                                                 u"Envoltura de regalo",
                                                 u"Recarga de garrafón"};
    return v;
}

const std::vector<const char16_t *> &almacenes()
{
    static const std::vector<const char16_t *> v{u"Almacén general", u"Bodega norte",
                                                 u"Tienda Cumbres",  u"Bodega sur",
                                                 u"Tienda San Nicolás", u"Almacén de tránsito"};
    return v;
}

// clang-format on

QString sinAcentos(const QString &texto)
{
    QString s = texto.normalized(QString::NormalizationForm_D);
    QString r;
    r.reserve(s.size());
    for (const QChar c : std::as_const(s)) {
        if (c.category() == QChar::Mark_NonSpacing)
            continue;
        r += c;
    }
    return r.toLower();
}

} // namespace microsip::detail
