#pragma once

// Fakes around the received-data pipeline: a block list as the channel, a
// text buffer as the window, a cell recorder as the sheet, a command recorder
// as the command sender.

#include "CByteSource.h"
#include "CCellSink.h"
#include "CCommandSink.h"
#include "CDriverParameter.h"
#include "CReceivePipeline.h"
#include "CScript.h"
#include "CTerminalParameter.h"
#include "CTextSink.h"
#include "TestIncludes.h"

class CBlockSource : public CByteSource
{
public:
    quint16 GetCommEvent() override { return m_nEvent; }
    quint16 GetInBufferCount() override
    {
        return m_blocks.isEmpty() ? 0 : quint16(m_blocks.front().size());
    }
    QByteArray GetInput() override { return m_blocks.isEmpty() ? QByteArray() : m_blocks.takeFirst(); }

    quint16 m_nEvent = EventReceive;
    QByteArrayList m_blocks;
};

class CTextBuffer : public CTextSink
{
public:
    void AppendBytes(const QByteArray& bytes) override
    {
        m_appends.append(bytes);
        m_text += bytes;
    }
    void DeleteLastCharacter() override { m_text.chop(1); }

    QByteArrayList m_appends;
    QByteArray m_text;
};

class CCellRecorder : public CCellSink
{
public:
    bool PutCell(int row, int column, const QByteArray& text) override
    {
        m_cells.append(QStringLiteral("%1,%2:%3").arg(row).arg(column).arg(QString::fromLatin1(text)));
        return true;
    }

    QStringList m_cells;
};

class CCommandRecorder : public CCommandSink
{
public:
    int SendCommand(const QByteArray& text) override
    {
        m_sent.append(text);
        return 1;
    }

    QByteArrayList m_sent;
};

// A script with input strings and one sequence each (same index).
inline void FillScript(CScript& script, bool registered, const QByteArray& endOfString,
                       const QByteArrayList& inputs, const QList<QByteArrayList>& sequences)
{
    script.DeleteContents();
    script.m_bRegistered = registered ? 1 : 0;
    script.m_strEndOfString = endOfString;
    script.m_InputStrings = inputs;
    for (const QByteArrayList& sequence : sequences)
        script.m_Sequences.append(std::make_shared<CStringArray>(sequence));
}

// A window's received-data pipeline: the channel a block list, the text in a
// buffer.
struct PipelineWindow
{
    PipelineWindow()
        : pipeline(script, display, driver)
    {
        pipeline.SetByteSource(&source);
        pipeline.SetTextSink(&text);
    }

    // One notification per pass until the channel has nothing left.
    void Pass(const QByteArrayList& blocks)
    {
        source.m_blocks = blocks;
        while (!source.m_blocks.isEmpty())
            pipeline.OnCommEvent();
    }

    CScript script;
    CTerminalParameter display;
    CDriverParameter driver;
    CReceivePipeline pipeline;
    CBlockSource source;
    CTextBuffer text;
};
