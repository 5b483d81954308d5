#include "tagChFileWatcher.h"

#include "tgchFileProcessor.h"

#include <QFileSystemWatcher>

TagChFileWatcher::TagChFileWatcher(QString path, QObject *parent)
    : QObject(parent)
    , m_watcher(new QFileSystemWatcher(this))
    , m_data(nullptr)
{
    m_filePath = path;
    m_watcher->addPath(m_filePath);
    connect(m_watcher, &QFileSystemWatcher::fileChanged, this, &TagChFileWatcher::onFileChanged);
    m_data = TgchFileProcessor::loadFileData(m_filePath);
}

TagChFileWatcher::~TagChFileWatcher()
{
    delete m_data;
}

void TagChFileWatcher::setFile(QString path)
{
    // Removing and adding the path again picks up a file that was replaced by a rename, which
    // the system watches under its old identity otherwise. Adding fails silently when no file
    // exists at that moment.
    m_watcher->removePath(m_filePath);
    m_filePath = path;
    m_watcher->addPath(m_filePath);
    delete m_data;
    m_data = nullptr;
    m_data = TgchFileProcessor::loadFileData(m_filePath);
}

FileDataTree *TagChFileWatcher::tagChData()
{
    return m_data;
}

void TagChFileWatcher::onFileChanged(QString path)
{
    setFile(path);
    emit tgchFileUpdated();
}
