<form method="post" name="systemlog">
<table border='0' cellpadding='6' cellspacing='0' class='form-table' width='100%'>
<tr class="form-table"><td class="sub-title" colspan="2">Filter</td></tr>
<tr class="form-table">
<td class="field-label" width="22%">CGI_CALL(ui::getElemLabel,config.ui.syslog.filepattern)</td>
<td class="field-input" width="78%">CGI_CALL(ui::getUnsafeTextInput,config.ui.syslog.filepattern,255)<br>A POSIX extended
regular expression, such as <b>daemon|cgi</b>. Only the lines that match it are shown.</td>
</tr>
<tr class="form-table"><td class="field-label" width="22%"></td><td class="field-input" width="78%">CGI_CALL(ui::getButtonInput)</td></tr>
</table>
<input name="form" value="systemlog" type="hidden"/>
</form>
<table border='0' cellpadding='6' cellspacing='0' class='form-table' width='100%'>
<tr class="form-table"><td class="sub-title">Messages</td></tr>
<tr class="form-table"><td class="field-output">CGI_CALL(ui::getFile,/var/log/messages)</td></tr>
</table>
