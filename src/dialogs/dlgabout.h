// SPDX-License-Identifier: MIT
#pragma once

#include <QDialog>

#include <memory>

namespace Ui {
class DlgAbout;
}

// The about box: logo, version, and the contact data of maker and author. Made afresh for each request and
// run modally.
class DlgAbout : public QDialog {
    Q_OBJECT

public:
    explicit DlgAbout(QWidget* parent);
    ~DlgAbout() override;
    Q_DISABLE_COPY_MOVE(DlgAbout)

private slots:
    void on_pushButtonClose_clicked();

private:
    std::unique_ptr<Ui::DlgAbout> m_ui;
};
