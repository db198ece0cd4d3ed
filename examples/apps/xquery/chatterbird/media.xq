xquery version "3.1";

(: Attachments whose file is still there, with the message that brought them. :)
import module namespace ev = "urn:examples:evidence" at "../common/evidence.xq";

declare variable $evidence as document-node() := /;
declare variable $app-title as xs:string external;

<results kind="medium" source="{ $app-title }">{
  for $attachment in ev:records($evidence, "chat_db", "attachment")
  for $medium in $attachment//record[@kind = "medium"]
  return
    <medium message="{ $attachment/field[@name = 'seq']/@ref }">{
      ev:origin($attachment),
      ev:element("path", ev:field($medium, "path")),
      ev:element("taken", ev:field($medium, "taken")),
      ev:element("position", ev:field($medium, "position"))
    }</medium>
}</results>
