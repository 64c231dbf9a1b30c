// SPDX-License-Identifier: MIT
#include "dialogs/dlgabout.h"

#include "base/contact.h"
#include "base/version.h"
#include "ui_dlgabout.h"

#include <QTextStream>

namespace {

const auto styleBlock = QStringLiteral(R"(<style>
  * {
    font-family: Roboto,Helvetica,Verdana,Arial,sans-serif;
    font-size: 12px;
    line-height: 1.0;
    color: #014051;
  }
  h1 {
    color: #014051;
    font-size: 16px;
    font-weight: 400;
  }
  h2 {
    color: #61D8CA;
    font-size: 14px;
    font-weight: 400;
  }
  a {
    text-decoration: none;
    color: #61D8CA;
  }
  p a:hover {
    color: #014051;
  }
</style>
)");

const auto leftAligned
    = QStringLiteral("<div style='margin-left:auto;margin-right:auto;text-align:left;'>\n");

void writeTitle(QTextStream& html)
{
    html << "  <img src=\":/VarkoLogo200.png\">\n"
         << "  <h1>\n"
         << "    QorMonitor<br>\n"
         << "    (QORweb II Monitor Anwendung)\n"
         << "  </h1>\n"
         << "  Version " << programVersion() << " / " << buildDate() << "<br>\n"
         << "  <hr width=70%>\n";
}

void writeMail(QTextStream& html, const QString& address)
{
    html << "<b>E-Mail:</b> <a href=\"mailto:" << address << "\">" << address << "</a><br>\n";
}

void writeMaker(QTextStream& html)
{
    using namespace Contact::Maker;
    html << "  " << leftAligned << "    <h2>Hersteller</h2>\n"
         << "    " << leftAligned << "      " << company << "<br>\n"
         << "      " << parentCompany << "<br>\n"
         << "      " << street << "<br>\n"
         << "      " << town << "\n"
         << "    </div>\n"
         << "    <p>\n"
         << "      <b>Telefon:</b> " << telephone << "<br>\n"
         << "      <b>Telefax:</b> " << fax << "<br>\n"
         << "      ";
    writeMail(html, email);
    html << "      <b>Internet:</b> <a href=\"https://" << webSite << "\">" << webSite << "</a>\n"
         << "    </p>\n"
         << "  </div>\n";
}

void writeAuthor(QTextStream& html)
{
    using namespace Contact::Author;
    html << "  " << leftAligned << "    <h2>Autor</h2>\n"
         << "    " << leftAligned << "      " << firm << "<br>\n"
         << "      " << office << "<br>\n"
         << "      " << street << "<br>\n"
         << "      " << town << "<br>\n"
         << "      ";
    writeMail(html, email);
    html << "    </div>\n"
         << "  </div>\n";
}

} // namespace

DlgAbout::DlgAbout(QWidget* parent)
    : QDialog(parent)
    , m_ui(std::make_unique<Ui::DlgAbout>())
{
    m_ui->setupUi(this);
    // The text's colours are fixed, and a dark desktop would hide them.
    QPalette palette;
    palette.setColor(QPalette::Base, Qt::white);
    // The frame of the link that has the focus.
    palette.setColor(QPalette::Text, Qt::black);
    m_ui->textBrowser->setPalette(palette);
    QString aboutHtml;
    QTextStream html(&aboutHtml);
    html << styleBlock << "<div style='margin:auto;text-align: center;'>\n";
    writeTitle(html);
    writeMaker(html);
    writeAuthor(html);
    html << "</div>\n";
    html.flush();
    m_ui->textBrowser->setText(aboutHtml);
}

DlgAbout::~DlgAbout() = default;

void DlgAbout::on_pushButtonClose_clicked()
{
    close();
}
