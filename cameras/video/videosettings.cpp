#include "cameras/video/videosettings.h"

#include "storage/settings.h"

#include <QHash>
#include <QMutex>
#include <QString>

namespace kivra::cameras {

namespace {

/// A setting's key in the store and its environment variable, which is read first.
struct Source
{
    const char *key;
    const char *variable;
    const char *meaning; ///< what is wrong with a bad value, for the log
};

constexpr Source formatSource{settings::cameraFormat, "KIVRA_CAMERA_FORMAT",
                              "is no size and rate such as 1280x720@30"};
constexpr Source turnSource{settings::cameraTurn, "KIVRA_CAMERA_TURN", "is not 0, 90, 180 or 270"};
constexpr Source mirrorSource{settings::cameraMirror, "KIVRA_CAMERA_MIRROR",
                              "is neither true nor false"};
constexpr Source mainsSource{settings::cameraMains, "KIVRA_CAMERA_MAINS", "is neither 50 nor 60"};

/// Logs a value that cannot be used, unless the last line about it said the same.
void warnOnce(const char *name, const QString &value, const char *meaning)
{
    static QMutex mutex;
    static QHash<QString, QString> told;
    const QMutexLocker locker(&mutex);
    if (told.value(QLatin1String(name)) == value)
        return;
    told.insert(QLatin1String(name), value);
    qWarning("%s: \"%s\" %s; leaving it out", name, qUtf8Printable(value), meaning);
}

/// The first value that \a parse accepts, from the environment, then from the store.
template<typename Parse>
auto valueOf(const Source &source, Parse parse) -> decltype(parse(QString()))
{
    const QSettings store = settingsStore();
    const std::pair<const char *, QString> values[] = {
        {source.variable, qEnvironmentVariable(source.variable)},
        {source.key, store.value(QLatin1String(source.key)).toString()},
    };
    for (const auto &[name, value] : values) {
        if (value.isEmpty())
            continue;
        if (const auto parsed = parse(value))
            return parsed;
        warnOnce(name, value, source.meaning);
    }
    return std::nullopt;
}

std::optional<Turn> turnOf(const QString &value)
{
    const std::pair<const char *, Turn> turns[] = {
        {"0", Turn::None}, {"90", Turn::By90}, {"180", Turn::By180}, {"270", Turn::By270}};
    for (const auto &[text, turn] : turns) {
        if (value == QLatin1String(text))
            return turn;
    }
    return std::nullopt;
}

std::optional<bool> switchOf(const QString &value)
{
    if (value == QLatin1String("1") || value == QLatin1String("true"))
        return true;
    if (value == QLatin1String("0") || value == QLatin1String("false"))
        return false;
    return std::nullopt;
}

std::optional<int> mainsOf(const QString &value)
{
    if (value == QLatin1String("50"))
        return 50;
    return value == QLatin1String("60") ? std::optional<int>(60) : std::nullopt;
}

} // namespace

VideoSettings videoSettings()
{
    VideoSettings settings;
    settings.format = valueOf(
        formatSource, [](const QString &value) { return parseFormatWish(value.toStdString()); });
    settings.orientation.turn = valueOf(turnSource, turnOf).value_or(Turn::None);
    settings.orientation.mirror = valueOf(mirrorSource, switchOf).value_or(false);
    settings.mains = valueOf(mainsSource, mainsOf).value_or(0);
    return settings;
}

} // namespace kivra::cameras
