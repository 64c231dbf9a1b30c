// SPDX-License-Identifier: MIT
#pragma once

#include <QCoreApplication>
#include <QStringList>
#include <QTranslator>

// While it lives, translates everything of one context to the same with a "#" in front.
class MarkingTranslator : public QTranslator {
public:
    explicit MarkingTranslator(const char* context)
        : m_context(context)
    {
        QCoreApplication::installTranslator(this);
    }
    ~MarkingTranslator() override { QCoreApplication::removeTranslator(this); }
    Q_DISABLE_COPY_MOVE(MarkingTranslator)

    bool isEmpty() const override { return false; }
    QString translate(const char* context, const char* source, const char*, int) const override
    {
        if (qstrcmp(context, m_context) != 0)
            return {};
        m_sources.append(QString::fromUtf8(source));
        return QLatin1Char('#') + m_sources.constLast();
    }
    // What has been asked for.
    QStringList sources() const { return m_sources; }

private:
    const char* m_context;
    mutable QStringList m_sources;
};
