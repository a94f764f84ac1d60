#pragma once

#include "storage/wholefile.h"

#include <QByteArray>
#include <QImage>
#include <QString>
#include <memory>

namespace kivra::rendu {

/// A picture as it goes into a document.
struct Page
{
    QImage bits;     ///< of a picture of two colours (encoding.h), kept without loss; else null
    QByteArray jpeg; ///< of any other
    QSize size;
};

/// A PDF document of A4 pages, a picture each, upright or across as the picture is, as large as
/// fits within margins of 10 mm. Pictures of two colours become CCITT G4. The compressed pictures
/// are in memory until the document goes.
class Document
{
public:
    Document();
    ~Document();
    Document(const Document &) = delete;
    Document &operator=(const Document &) = delete;

    /// Puts a page behind the last one. False when the memory is short; the document is lost then.
    bool add(const Page &page);

    /// Writes the document to \a path, whole or not at all, with \a end behind it. Gives 0 or the
    /// number of the system's error (makeWholeFile()).
    int save(const QString &path, Existing existing, const QByteArray &end) const;

private:
    struct Parts;
    std::unique_ptr<Parts> parts;
};

} // namespace kivra::rendu
