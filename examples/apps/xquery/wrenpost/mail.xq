xquery version "3.1";

(: Mails by thread. The subject without its reply marks holds a thread together. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $address-separator as xs:string external := "; ";

declare function local:recipients($mail as element(record)) as element(to)* {
  for $address in tokenize(ev:field($mail, "to_list"), $address-separator, "q")
  return <to>{ $address }</to>
};

declare function local:attachments($mail as element(record)) as element(attachment)* {
  for $attachment in ev:records($evidence, "account_db", "attachment")
  where ev:field($attachment, "mail_id") = ev:field($mail, "_id")
  return
    <attachment size="{ ev:field($attachment, 'size') }">{
      ev:field($attachment, "name")
    }</attachment>
};

<results kind="mail">{
  for $mail in ev:records($evidence, "account_db", "mail")
  group by $thread := (ev:field($mail, "thread"), "(no subject)")[1]
  order by lower-case($thread)
  return
    <thread subject="{ $thread }">{
      for $one in $mail
      order by ev:field($one, "sent")
      return
        <mail>{
          ev:attribute("id", $one/@id),
          ev:attribute("reply-to", $one/field[@name = "in_reply_to"]/@ref),
          ev:origin($one),
          ev:element("from", ev:field($one, "header_from")),
          local:recipients($one),
          ev:element("sent", ev:field($one, "sent")),
          ev:element("text", string-join($one/field[@name = "body_file"]//text, "&#10;")),
          local:attachments($one)
        }</mail>
    }</thread>
}</results>
