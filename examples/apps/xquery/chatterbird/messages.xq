xquery version "3.1";

(: Messages of the chats in use and of the archives, each under the chat it belongs to. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;
declare variable $chat-analyzers as xs:string external;

(: Archives call the table chat_line and its chat column chat. :)
declare function local:messages() as element(record)* {
  for $analyzer in tokenize($chat-analyzers, " ")
  for $kind in ("message", "chat_line")
  return ev:records($evidence, $analyzer, $kind)
};

declare function local:envelope($message as element(record)) as element(source)? {
  $message/field[@name = "envelope"]/source
};

declare function local:sent($message as element(record)) as xs:string? {
  (ev:node(local:envelope($message), "sent_at"), ev:field($message, "received_at"))[1]
};

declare function local:attachment($node as element(node)) as element(attachment) {
  <attachment>{
    ev:attribute("mime", ev:node($node, "mime")),
    ev:node($node, "name")
  }</attachment>
};

declare function local:message($message as element(record)) as element(message) {
  let $envelope := local:envelope($message)
  return
    <message>{
      ev:attribute("id", $message/@id),
      ev:attribute("from", $message/field[@name = "sender"]/@ref),
      ev:origin($message),
      ev:element("sent", local:sent($message)),
      ev:element("received", ev:field($message, "received_at")),
      ev:element("text", ev:node($envelope, "text")),
      ev:element("in-reply-to", ev:node($envelope, "reply_to")),
      ev:nodes($envelope, "attachments") ! local:attachment(.)
    }</message>
};

<results kind="message" source="{ $app-title }">{
  for $message in local:messages()
  group by $chat := string($message/field[@name = ("chat_uid", "chat")][1]/@ref)
  order by $chat
  return
    <conversation chat="{ $chat }">{
      for $one in $message
      order by local:sent($one)
      return local:message($one)
    }</conversation>
}</results>
